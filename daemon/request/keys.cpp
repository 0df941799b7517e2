#include "daemon/request/keys.h"

#include "daemon/base/text_builder.h"
#include "daemon/request/request_text.h"

#include <algorithm>

namespace
{

constexpr size_t MAX_VALUE_SIZE = MAX_INT_TEXT + 1;

KeyOutcome TakeText(std::string_view text, const KeyRow &row, void *pvRecord)
{
    char acValue[MAX_VALUE_SIZE];
    const std::span<char> value(acValue, std::min(row.size, sizeof acValue));
    if (GetStringValueFromText(text, row.key, value) != 0)
        return KeyOutcome::NotGiven;
    if (row.eKind == KeyRow::Kind::Special)
        return row.pfnSpecial(acValue, pvRecord) ? KeyOutcome::Taken : KeyOutcome::Bad;
    if (row.pfnTextCheck != nullptr && !row.pfnTextCheck(acValue))
        return KeyOutcome::Bad;
    Text_Copy({static_cast<char *>(row.pfnField(pvRecord)), row.size}, acValue);
    return KeyOutcome::Taken;
}

KeyOutcome TakeNumber(std::string_view text, const KeyRow &row, void *pvRecord)
{
    int32_t iValue = 0;
    KeyOutcome outcome = row.eKind == KeyRow::Kind::Word
                             ? Request_TakeWord(text, row.key, row.one, row.zero, iValue)
                             : Request_TakeInt(text, row.key, row.iMin, row.iMax, iValue);
    if (outcome == KeyOutcome::Taken && row.pfnIntCheck != nullptr && !row.pfnIntCheck(iValue))
        outcome = KeyOutcome::Bad;
    if (outcome == KeyOutcome::Taken)
        *static_cast<int32_t *>(row.pfnField(pvRecord)) = iValue;
    return outcome;
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
    char acWord[MAX_VALUE_SIZE];
    if (GetStringValueFromText(text, key, std::span(acWord).first(std::min(maxLength + 1, sizeof acWord))) != 0)
        return KeyOutcome::NotGiven;
    const std::string_view word = acWord;
    if (word != one && word != zero)
        return KeyOutcome::Bad;
    iValue = word == one ? 1 : 0;
    return KeyOutcome::Taken;
}

int Request_TakeRows(std::string_view text, std::span<const KeyRow> rows, void *pvRecord, uint32_t &uiSetMask)
{
    for (const KeyRow &row : rows) {
        const bool isText = row.eKind == KeyRow::Kind::Text || row.eKind == KeyRow::Kind::Special;
        const KeyOutcome outcome = isText ? TakeText(text, row, pvRecord) : TakeNumber(text, row, pvRecord);
        if (outcome == KeyOutcome::Bad)
            return -1;
        if (outcome == KeyOutcome::Taken)
            uiSetMask |= row.uiBit;
    }
    return 0;
}
