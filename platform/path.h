#pragma once

#include <span>

/** The environment variable whose value, when set and not empty, is put in front of every fixed path. */
inline constexpr char PATH_ROOT_VARIABLE[] = "KELPA_ROOT";

/**
 * Writes a fixed path of the camera ("/tmp/configer") as this process has to open it: with the value of KELPA_ROOT
 * in front, when that is set. Returns 0, or -1 (logged) when the result and its terminator do not fit `out`; a path
 * is never shortened.
 */
[[nodiscard]] int Path_Resolve(const char *pcPath, std::span<char> out);

/**
 * Writes the shell command that runs the camera's program `pcProgram` with `pcArguments` (taken as they stand; may
 * be empty). The program's path is resolved as above and quoted for the shell when KELPA_ROOT is set.
 * Returns 0, or -1 (logged) when it does not fit.
 */
[[nodiscard]] int Path_ShellCommand(const char *pcProgram, const char *pcArguments, std::span<char> out);
