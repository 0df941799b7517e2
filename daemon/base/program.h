#pragma once

/**
 * Runs a program of the camera through the shell and waits for it; `pcProgram` is a fixed path, `pcArguments` are
 * taken as they stand. Its environment is the daemon's, with `pcQueryString`, unless that is null, as QUERY_STRING.
 * Returns its status as waitpid(2) gives it, 0 when it succeeded; -1 when it could not be started, or was still
 * running when the grace of a stop was over: it goes on then.
 */
[[nodiscard]] int Program_Run(const char *pcProgram, const char *pcArguments, const char *pcQueryString = nullptr);
