#pragma once

#include <span>

/** The environment variable whose value, when set and not empty, is put in front of every fixed path. */
inline constexpr char PATH_ROOT_VARIABLE[] = "KELPA_ROOT";

/**
 * Reads KELPA_ROOT; without this call there is no folder in front. Call it before other threads start, and again
 * after a change of the variable, whose text is used where it stands in the environment.
 */
void Path_Open();

/** The folder in front of every fixed path; empty when there is none. */
[[nodiscard]] const char *Path_Root();

/**
 * Writes a fixed path of the camera ("/tmp/configer") as this process has to open it: with Path_Root in front.
 * Returns 0, or -1 (logged, errno is ENAMETOOLONG) when the result and its terminator do not fit `out`; a path is
 * never shortened.
 */
[[nodiscard]] int Path_Resolve(const char *pcPath, std::span<char> out);

/**
 * Writes the shell command that runs the camera's program `pcProgram` with `pcArguments` (taken as they stand; may
 * be empty). The program's path is resolved as above and quoted for the shell when there is a root.
 * Returns 0, or -1 (logged) when it does not fit.
 */
[[nodiscard]] int Path_ShellCommand(const char *pcProgram, const char *pcArguments, std::span<char> out);
