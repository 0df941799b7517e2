#pragma once

#include "server/session.h"
#include "text/builder.h"

/**
 * Ends a SET routine: writes the pairs to the store and sets the mapping result, Ok or `failReason`. Without any
 * pair nothing is written and the request itself is refused with `emptyReason`. Returns 0 or -1.
 */
[[nodiscard]] int Session_WritePairs(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason,
                                     StatusKind emptyReason = StatusKind::BadRequest);
