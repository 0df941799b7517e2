#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/audio.cgi": codec and bit rate of one audio profile. */

/** What a request gives, or what the store holds and follows from it. */
struct AudioConfigRecord {
    uint32_t uiSetMask;
    int32_t iProfileCount;
    int32_t iProfileID;
    char acCodec[8];     ///< of a request: the store's word; of a result: the reply's
    char acG711Mode[8];  ///< of a request: "pcmu" or "pcma" when it names a G.711 law
    int32_t iSampleRate; ///< Hz, results only
    int32_t iChannels;   ///< results only
    int32_t iBitRate;    ///< bit/s
};
using AudioConfigParam = AudioConfigRecord;
using AudioConfigResult = AudioConfigRecord;

/** True when the codec, as a client or the store names it, knows the bit rate. */
[[nodiscard]] bool AudioConfig_IsValidBitrate(uint32_t uiBitRate, std::string_view codec);

[[nodiscard]] int Parser_AudioConfig_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_AudioConfig(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_AudioConfig(SessionSlot &slot);
void Compose_AudioConfig(TextBuilder &body, SessionSlot &slot);
