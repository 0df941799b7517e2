#include "daemon/request/keys.h"

#include <gtest/gtest.h>

namespace
{

struct Inner {
    char acName[8];
};

struct Record {
    uint32_t uiSetMask;
    int32_t iWord, iNumber, iEven;
    char acText[4], acLower[4], acLong[128];
    Inner tInner;
    char acSpecial[8];
};

bool isEven(int32_t iValue)
{
    return iValue % 2 == 0;
}

bool isLower(std::string_view value)
{
    return value.find_first_not_of("abc") == std::string_view::npos;
}

/** Takes what begins with the text that was taken before. */
bool takeSpecial(std::string_view value, Record &record)
{
    record.acSpecial[value.copy(record.acSpecial, sizeof record.acSpecial - 1)] = '\0';
    return value.starts_with(record.acText);
}

bool refuse(std::string_view, Record &)
{
    return false;
}

constexpr KeyRow<Record> KEYS[] = {
    KeyWord<&Record::iWord>("word=", 0x1, "on", "off"),
    KeyInt<&Record::iNumber>("number=", 0x2, -3, 10),
    KeyInt<&Record::iEven>("even=", 0x4, 0, 10, isEven),
    KeyText<&Record::acText>("text=", 0x8),
    KeyText<&Record::acLower>("lower=", 0x10, isLower),
    KeyText<&Record::acLong>("long=", 0x20),
    KeyText<&Record::tInner, &Inner::acName>("inner=", 0x40),
    KeySpecial<takeSpecial, 5>("special=", 0x80),
    KeySpecial<refuse, 5>("never=", 0),
};
constexpr KeyRow<Record> CHECKED_KEY[] = {KeyInt<&Record::iEven>("even=", 0x100, isEven)};
constexpr KeyRow<Record> SAME_BIT[] = {KeyText<&Record::acText>("again=", 0x8)};

static_assert(KeyBitsAreDistinct(KEYS, CHECKED_KEY));
static_assert(KeyBitsAreDistinct(SAME_BIT) && !KeyBitsAreDistinct(KEYS, SAME_BIT));
static_assert(!KeyBitsAreDistinct({SAME_BIT[0], SAME_BIT[0]}));

constexpr uint32_t BIT_BEFORE = 0x80000000;

/** What differs from the record below, and the mask's bits, "!" behind them after a bad value. */
std::string taken(const std::string &text)
{
    Record record = {BIT_BEFORE, -7, -7, -7, "-", "-", "-", {"-"}, "-"};
    const int result = Request_TakeKeys(text, KEYS, record);
    std::string taken;
    const std::pair<const char *, int32_t> numbers[] = {
        {"word=", record.iWord}, {"number=", record.iNumber}, {"even=", record.iEven}};
    for (const auto &[name, value] : numbers)
        if (value != -7)
            taken += name + std::to_string(value) + " ";
    const std::pair<const char *, std::string> texts[] = {{"text=", record.acText},
                                                          {"lower=", record.acLower},
                                                          {"long=", record.acLong},
                                                          {"inner=", record.tInner.acName},
                                                          {"special=", record.acSpecial}};
    for (const auto &[name, value] : texts)
        if (value != "-")
            taken += name + value + " ";
    EXPECT_NE(record.uiSetMask & BIT_BEFORE, 0U) << "bits are added";
    return taken + std::to_string(record.uiSetMask & ~BIT_BEFORE) + (result == 0 ? "" : "!");
}

} // namespace

TEST(RequestKeys, TakesWhatIsGivenAndGood)
{
    const std::string longest(127, 'l');
    const std::pair<std::string, std::string> cases[] = {
        {"x=1&", "0"},
        {"word=on&", "word=1 1"},
        {"word=off&", "word=0 1"},
        {"word=On&", "0!"},
        {"word=ononononononono&", "0!"},
        {"word=onononononononon&", "0"}, // more characters than are looked at: not given
        {"number=-3&", "number=-3 2"},
        {"number=10&", "number=10 2"},
        {"number=11&", "0!"},
        {"even=8&", "even=8 4"},
        {"even=7&", "0!"},
        {"even=12&", "0!"},
        {"text=abc&", "text=abc 8"},
        {"text=abcd&", "0"}, // too long for the field: not given
        {"lower=abc&", "lower=abc 16"},
        {"lower=aBc&", "0!"},
        {"long=" + longest + "&", "long=" + longest + " 32"},
        {"long=" + longest + "l&", "0"},
        {"inner=1234567&", "inner=1234567 64"},
        {"inner=12345678&", "0"},
        {"special=-2345&", "special=-2345 128"},
        {"special=-23456&", "0"},
        {"never=1&", "0!"},
        // The table's order counts, not the request's; the first bad value stops, what is not given does not.
        {"special=ab&text=a&word=on&", "word=1 text=a special=ab 137"},
        {"text=a&special=b&number=11&word=on&", "word=1 1!"},
        {"word=onononononononon&number=1&", "number=1 2"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(taken(text), expected) << text;
}

TEST(RequestKeys, AWordOf127CharactersIsTaken)
{
    int32_t iValue = -7;
    const std::string word(127, 'w');
    EXPECT_EQ(Request_TakeWord("w=" + word + "&", "w=", "yes", word, iValue, 127), KeyOutcome::Taken);
    EXPECT_EQ(iValue, 0);
}
