#pragma once

#include <cstdint>
#include <poll.h>
#include <span>

/** Closes the socket and stores -1 in its place; leaves -1 and -2, the two marks of "no socket", as they are. */
void NetUtility_CloseSocket(int32_t &iSocket);
/** Closes each of the sockets so. */
void NetUtility_CloseSockets(std::span<int32_t> sockets);

/** Sets SO_REUSEADDR. Returns 0, or -1 with errno. */
[[nodiscard]] int NetUtility_SetReuseAddress(int32_t iSocket);
/** Sets O_NONBLOCK. Returns 0, or -1 with errno. */
[[nodiscard]] int NetUtility_SetNonBlocking(int32_t iSocket);

/** A limit in seconds as the milliseconds that NetUtility_WaitSockets can wait: nearly 25 days at most. */
[[nodiscard]] uint32_t NetUtility_WaitLimitMs(uint32_t uiLimitSec);

/**
 * Waits as poll(2) does until `uiLimitMs` after the tick `uiStartMs`, so that several waits can share one limit; a
 * signal does not end it. Negative descriptors are passed over. Returns how many sockets are ready, 0 when the time
 * is over, -1 with errno.
 */
[[nodiscard]] int NetUtility_WaitSockets(std::span<pollfd> sockets, uint32_t uiStartMs, uint32_t uiLimitMs);
