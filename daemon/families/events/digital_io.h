#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/io.cgi": the state of inputs and outputs; outputs are switched by the IO daemon. */

inline constexpr int32_t MAX_IO = 10;

struct DIDOConfigParam {
    int32_t iCount; ///< commands, in the request's order
    int32_t aiState[MAX_IO];
    int32_t aiOutput[MAX_IO]; ///< 1 to 9
};

struct DIDOConfigResult {
    int32_t iInputs;
    int32_t iOutputs;
    int32_t aiInputState[MAX_IO];
    int32_t aiOutputState[MAX_IO];
};

[[nodiscard]] int Parser_DIDOConfig_Set(SessionSlot &slot);
/** Waits until the IO daemon reads its FIFO. */
[[nodiscard]] int MappingSetRoutine_DIDOConfig(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_DIDOConfig(SessionSlot &slot);
void Compose_DIDOConfig(TextBuilder &body, SessionSlot &slot);
