#pragma once

#include "server/session.h"

#include <string_view>

/**
 * Sends one command to the PTZ daemon, on a connection of its own: "channel=0&camid=<id>&<command>" in one write,
 * nothing is read back. A daemon that takes no command, or no connection within a second, makes it fail. Returns 0 when
 * it was written, else -1.
 */
[[nodiscard]] int PTZCtrl_SendCommand(std::string_view command);

/** Ends a SET routine with a command: the mapping result is Ok, or InternalError when it could not be sent. */
[[nodiscard]] int Session_SendCommand(SessionSlot &slot, std::string_view command);
