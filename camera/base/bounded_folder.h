#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace camera
{

/** What the files of a folder may take together; those of other names do not count and stay. */
struct FolderLimit {
    std::uint64_t bytes;
    size_t files;
    bool removeOldest;            ///< to make room; otherwise there is none when the folder is full
    std::string_view prefix = {}; ///< what the names of the files begin with
};

/**
 * Makes the folder when it is missing, removes files that a killed camera left unfinished, and makes room for one
 * more file of at most `bytes`. Throws std::runtime_error when there is no room, std::system_error when the folder
 * cannot be used.
 */
void makeRoom(const std::string &folder, const FolderLimit &limit, std::uint64_t bytes);

/** The path of a file of that name that does not exist yet: "name.avi", or "name-2.avi" and so on. */
[[nodiscard]] std::string freePath(const std::string &folder, const std::string &name,
                                   const std::string &extension);

} // namespace camera
