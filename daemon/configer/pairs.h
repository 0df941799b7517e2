#pragma once

#include "daemon/base/text_builder.h"
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
  public:
    explicit PairBuffer(uint32_t uiSetMask) : PairBuilder(m_acBuffer, uiSetMask) {}
    PairBuffer(const PairBuffer &) = delete;
    PairBuffer &operator=(const PairBuffer &) = delete;

  private:
    char m_acBuffer[N];
};

/**
 * Ends a SET routine: writes the pairs to the store and sets the mapping result, Ok or `failReason`. Without any
 * pair nothing is written and the request itself is refused with `emptyReason`. Returns 0 or -1.
 */
[[nodiscard]] int Session_WritePairs(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason,
                                     StatusKind emptyReason = StatusKind::BadRequest);
