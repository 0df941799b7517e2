#pragma once

#include <span>
#include <string_view>

/* The network share of the recorder, which the store keeps as "\\server\folder". */

/** Copies the server of a share's name, as much as fits; empty when there is none. */
void GetServerFromUNC(std::string_view unc, std::span<char> out);
/** Copies the folder of a share's name, as much as fits; empty when there is none. */
void GetShareFromUNC(std::string_view unc, std::span<char> out);

/**
 * Stores a new server, a new folder, or both; null keeps that part of the stored name, an empty text is stored as
 * it is. Recording is stopped while the share changes. Returns 0; or -1, with recording left stopped if it had been
 * stopped.
 */
[[nodiscard]] int Recorder_SetShareLocation(const char *pcServer, const char *pcFolder);
