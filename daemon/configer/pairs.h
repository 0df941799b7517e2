#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/configer/configer.h"
#include "daemon/session/session.h"

/** Builds what a SET routine writes: the pairs of the keys that a request gave, in the store's order. */
class PairBuilder : public TextBuilder
{
  public:
    PairBuilder(std::span<char> out, uint32_t uiSetMask) : TextBuilder(out), m_uiSetMask(uiSetMask) {}

    /** Addf if the request gave one of the keys with these bits. */
    void AddGiven(uint32_t uiBits, const char *pcFormat, ...) __attribute__((format(printf, 3, 4)));

  private:
    uint32_t m_uiSetMask;
};

/** A builder with room for N - 1 bytes: `PairBuffer<1024> pairs(param.uiSetMask);` */
template <size_t N>
class PairBuffer : public PairBuilder
{
    static_assert(N - 1 <= MAX_SET_PAIRS, "one set request has to hold it whole");

  public:
    explicit PairBuffer(uint32_t uiSetMask) : PairBuilder(m_acBuffer, uiSetMask) {}
    PairBuffer(const PairBuffer &) = delete;
    PairBuffer &operator=(const PairBuffer &) = delete;

  private:
    char m_acBuffer[N];
};

/**
 * Appends a group of pairs that belong together, each ended by "&", for a change that may be longer than `pairs`
 * can hold: when there is no room for the group, what `pairs` holds is written to the store and taken out first.
 * Session_WritePairs writes the rest. Returns 0; or -1 with the mapping result `failReason`, when the write fails
 * or the group was cut.
 */
[[nodiscard]] int Session_AddPairs(SessionSlot &slot, TextBuilder &pairs, const TextBuilder &group,
                                   StatusKind failReason);

/**
 * Ends a SET routine: writes the pairs to the store and sets the mapping result, Ok or `failReason`. Without any
 * pair nothing is written and the request itself is refused with `emptyReason`; a text that was cut is not written
 * and fails. Returns 0 or -1.
 */
[[nodiscard]] int Session_WritePairs(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason,
                                     StatusKind emptyReason = StatusKind::BadRequest);
