#pragma once

/**
 * Opens a named pipe (a fixed path of the camera), which is made when it is not there. For writing it waits
 * until the pipe has a reader: in fair mode for half a second, else without limit but for the daemon's own end; for
 * reading it does not wait. Returns 0 with the descriptor, non-blocking and close-on-exec, or -1 (traced and
 * logged).
 */
[[nodiscard]] int CfgParser_GetFIFO(const char *pcFixedPath, int *piFifo, int iWrite);
