#pragma once

#include "daemon/session/session.h"

/** Writes the whole HTTP reply of a session into its I/O buffer and sets the buffer length. */
void Composer_Routine_KELPAAPI(SessionSlot &slot);
