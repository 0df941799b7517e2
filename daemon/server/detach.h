#pragma once

/*
 * Daemon mode. As after daemon(3), the program goes on in a process and a session of its own, in "/", with its
 * streams on the null device; but the process that was started waits until it is known how the start ends.
 */

/**
 * Goes on in a new process and returns 0 there. The calling process does not return: it waits and exits with 0 once
 * the new one calls Detach_Serving, with its status when it ends before, with 1 (logged) when a signal ended it.
 * Standard error stays what it was until Detach_Serving, so that a start that fails can say so. Returns 0 at once
 * in a process that is detached already; -1 with errno in the calling process when there is no new one.
 */
[[nodiscard]] int Detach();

/** The start has succeeded: lets the process that was started go, and gives up its standard error. */
void Detach_Serving();
