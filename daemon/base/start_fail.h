#pragma once

/*
 * Says, in the log and on standard error, what the daemon needs for its start and does not have:
 * "[Start_Fail]<what> <path>: <the text of errno>". Whoever finds out calls it once and ends the start; the
 * messages of the functions that give up after it remain.
 */

/** `pcPath` is named as it stands, unless it is null; the text of `iErrno` is left out when that is 0. Returns -1.
 */
int Start_Fail(const char *pcWhat, const char *pcPath, int iErrno);

/** The same for a fixed path of the camera, which is named as this process opens it. Returns -1. */
int Start_FailFixed(const char *pcWhat, const char *pcFixedPath, int iErrno);
