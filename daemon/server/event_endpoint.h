#pragma once

#include <cstddef>

/** Where the event manager sends its messages: a fixed path of the camera. */
inline constexpr char EVENT_PATH[] = "/var/run/eventmgr/emkelpa";
inline constexpr size_t EVENT_PATH_SIZE = 256;
