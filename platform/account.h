#pragma once

#include <cstddef>
#include <cstdint>

/*
 * Account library: the camera's users, read from the password and group files. Only the main thread calls these;
 * a reload that a signal asks for is made by the main loop, never inside the handler, so that it cannot meet a list
 * walk, an allocation or a print half-way.
 */

/** Users kept at most; entries of the password file beyond it are left out. */
inline constexpr size_t AM_MAX_USERS = 128;

struct AM_User {
    char acName[65];
    char acIndex[12]; ///< the uid as decimal text
    const AM_User *ptNext;
};

struct AM_UserList {
    const AM_User *ptFirst;
    int32_t iCount;
    AM_User atUsers[AM_MAX_USERS];
};

struct AM_Context {
    char acTempDirectory[32];
    char acPasswordFile[128];
    char acGroupFile[128];
    char acConfigFile[128];
    char acParameter[4];
    char acGroups[256]; ///< names of the groups whose members are camera users, comma-separated
    AM_UserList atLists[2];
    int32_t iCurrentList; ///< which of the two lists callers see; a reload fills the other one
};

/**
 * Reads the account configuration ("name=value" lines; "#" begins a comment) named in the context. Returns 0, or
 * non-zero when the file cannot be read (errno says why) or a line is malformed (errno is left alone). The paths of
 * the context are fixed paths of the camera.
 */
[[nodiscard]] int AM_ParseConfigFile(AM_Context *ptContext);

/**
 * Reads the users anew: entries of the password file whose primary group, or a group that lists them in the group
 * file, is one of the configured ones. Malformed lines are skipped. Returns 0; or non-zero, with the list as it
 * was, when a file cannot be read.
 */
int AM_ParsePasswordFile(AM_Context *ptContext);

[[nodiscard]] int32_t AM_UserCount(const AM_Context *ptContext);
/** The first user, or null. The chain stays valid until the next AM_ParsePasswordFile. */
[[nodiscard]] const AM_User *AM_FirstUser(const AM_Context *ptContext);
