#pragma once

#include "daemon/session/session.h"

#include <span>
#include <string_view>

/**
 * Sends one command to the PTZ daemon, on a connection of its own: "channel=0&camid=<id>&<command>" in one write,
 * nothing is read back. A daemon that takes no command, or no connection within a second, makes it fail. Returns 0
 * when it was written, else -1.
 */
[[nodiscard]] int PTZCtrl_SendCommand(std::string_view command);

/** Ends a SET routine with a command: the mapping result is Ok, or InternalError when it could not be sent. */
[[nodiscard]] int Session_SendCommand(SessionSlot &slot, std::string_view command);

/** A word of "act=", and what it makes the PTZ daemon do. */
struct ActWord {
    std::string_view prefix;
    std::string_view command;
};

/** Copies the command of the first word whose beginning `act` has. Returns 0, or -1 when there is none. */
[[nodiscard]] int PTZ_TakeAct(std::string_view act, std::span<const ActWord> words, std::span<char> command);
