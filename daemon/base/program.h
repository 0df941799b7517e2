#pragma once

/**
 * Runs a program of the camera through the shell and waits for it; `pcProgram` is a fixed path, `pcArguments` are
 * taken as they stand. Returns what system(3) does: 0 when the program succeeded; -1 also when the path is too
 * long.
 */
[[nodiscard]] int Program_Run(const char *pcProgram, const char *pcArguments);
