#pragma once

#include "daemon/session/session.h"

#include <cstdint>
#include <span>
#include <string_view>

/*
 * What the video and audio profiles share. The API counts profiles from 1; profile n is stream n - 1 in the store.
 */

/** Profiles that are listed at most; a camera with more keeps the rest to itself. */
inline constexpr int32_t MAX_LISTED_PROFILES = 8;

/**
 * Reads the number of video streams and whether H.264 is among the codecs (then `iH264` becomes 1).
 * Returns 0, or -1 when the store does not say.
 */
[[nodiscard]] int Capability_GetVideoStreams(int32_t &iStreamCount, int32_t &iH264);

/**
 * Reads a list from the store into `answer`, whose size limits it, and tells whether the word occurs anywhere in
 * it; false also when the read fails.
 */
[[nodiscard]] bool Capability_Lists(std::span<char> answer, std::string_view key, std::string_view word);

/** A codec's spellings: in the store, in a profile's reply, in the list of streams. */
struct CodecWords {
    std::string_view store;
    std::string_view profile;
    std::string_view list;
};

/** The video codec that a value of the store begins with, or null. */
[[nodiscard]] const CodecWords *VideoCodec_Find(std::string_view storeValue);

/** A codec as clients may write it, and the store's word for it. */
struct CodecAlias {
    std::string_view prefix;
    std::string_view store;
};

/** The alias that the client's text begins with, or null. */
[[nodiscard]] const CodecAlias *Codec_FindAlias(std::span<const CodecAlias> aliases, std::string_view text);

/**
 * Reads, for a SET parser, the codec that a stream has now; "#" in the key stands for the stream. Returns 0,
 * or -1 with the status kind set.
 */
[[nodiscard]] int Profile_ReadCodec(SessionSlot &slot, const char *pcParser, std::string_view key, int32_t iStream,
                                    std::span<char> codec);

/** Takes "profileid=" out of a read's query string; 0 when it is there and from 1 to `iCount`, else -1. */
[[nodiscard]] int Profile_FromQuery(const SessionSlot &slot, int32_t iCount, int32_t &iProfileID);

/** Refuses (traced with the record's name) a number that is not from 1 to `iCount`. Returns 0 or -1. */
[[nodiscard]] int Profile_CheckRange(SessionSlot &slot, const char *pcRecord, int32_t iProfileID, int32_t iCount);
