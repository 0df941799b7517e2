#include "daemon/request/keys.h"

#include "daemon/base/text_builder.h"

#include <span>

namespace
{

using ValueBuffer = char[MAX_KEY_TEXT + 1];

KeyOutcome TakeText(std::string_view text, const KeyRule &rule, void *pvRecord)
{
    ValueBuffer acValue;
    if (GetStringValueFromText(text, rule.key, std::span(acValue).first(rule.tText.size)) != 0)
        return KeyOutcome::NotGiven;
    if (rule.tText.pfnCheck != nullptr && !rule.tText.pfnCheck(acValue))
        return KeyOutcome::Bad;
    Text_Copy({static_cast<char *>(rule.pfnField(pvRecord)), rule.tText.size}, acValue);
    return KeyOutcome::Taken;
}

KeyOutcome TakeInt(std::string_view text, const KeyRule &rule, void *pvRecord)
{
    int32_t iValue = 0;
    const KeyOutcome outcome = Request_TakeInt(text, rule.key, rule.tInt.iMin, rule.tInt.iMax, iValue);
    if (outcome != KeyOutcome::Taken)
        return outcome;
    if (rule.tInt.pfnCheck != nullptr && !rule.tInt.pfnCheck(iValue))
        return KeyOutcome::Bad;
    *static_cast<int32_t *>(rule.pfnField(pvRecord)) = iValue;
    return KeyOutcome::Taken;
}

KeyOutcome TakeSpecial(std::string_view text, const KeyRule &rule, void *pvRecord)
{
    ValueBuffer acValue;
    if (GetStringValueFromText(text, rule.key, std::span(acValue).first(rule.tSpecial.size)) != 0)
        return KeyOutcome::NotGiven;
    return rule.tSpecial.pfnTake(acValue, pvRecord) ? KeyOutcome::Taken : KeyOutcome::Bad;
}

KeyOutcome Take(std::string_view text, const KeyRule &rule, void *pvRecord)
{
    switch (rule.eKind) {
    case KeyRule::Kind::Text:
        return TakeText(text, rule, pvRecord);
    case KeyRule::Kind::Word:
        return Request_TakeWord(text, rule.key, rule.tWord.one, rule.tWord.zero,
                                *static_cast<int32_t *>(rule.pfnField(pvRecord)));
    case KeyRule::Kind::Int:
        return TakeInt(text, rule, pvRecord);
    case KeyRule::Kind::Special:
        return TakeSpecial(text, rule, pvRecord);
    }
    return KeyOutcome::Bad;
}

} // namespace

KeyOutcome Request_TakeInt(std::string_view text, std::string_view key, int32_t iMin, int32_t iMax, int32_t &iValue)
{
    int32_t iGiven = 0;
    if (GetIntValueFromText(text, key, iGiven) != 0)
        return KeyOutcome::NotGiven;
    if (!IsWithin(iGiven, iMin, iMax))
        return KeyOutcome::Bad;
    iValue = iGiven;
    return KeyOutcome::Taken;
}

KeyOutcome Request_TakeWord(std::string_view text, std::string_view key, std::string_view one,
                            std::string_view zero, int32_t &iValue, size_t maxLength)
{
    ValueBuffer acWord;
    if (GetStringValueFromText(text, key, std::span(acWord).first(maxLength + 1)) != 0)
        return KeyOutcome::NotGiven;
    const std::string_view word = acWord;
    if (word != one && word != zero)
        return KeyOutcome::Bad;
    iValue = word == one ? 1 : 0;
    return KeyOutcome::Taken;
}

KeyOutcome Request_TakeKey(std::string_view text, const KeyRule &rule, void *pvRecord, uint32_t &uiSetMask)
{
    const KeyOutcome outcome = Take(text, rule, pvRecord);
    if (outcome == KeyOutcome::Taken)
        uiSetMask |= rule.uiBit;
    return outcome;
}
