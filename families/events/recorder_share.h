#pragma once

#include <span>
#include <string_view>

/* The network share of the recorder, which the store keeps as "\\server\folder". */

/** Copies the server of a share's name, as much as fits; empty when there is none. */
void GetServerFromUNC(std::string_view unc, std::span<char> out);
/** Copies the folder of a share's name, as much as fits; empty when there is none. */
void GetShareFromUNC(std::string_view unc, std::span<char> out);

/**
 * Stores a new server, a new folder, or both; an empty part that was not given is kept from the stored name.
 * Recording is stopped while the share changes. Returns 0; or -1, with recording left stopped if it had been
 * stopped.
 */
[[nodiscard]] int Recorder_SetShareLocation(const char *pcServer, bool serverGiven, const char *pcFolder,
                                            bool folderGiven);
