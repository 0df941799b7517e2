#include "daemon/request/request_text.h"

#include "daemon/base/text_finder.h"
#include "platform/log.h"

#include <cstdarg>
#include <cstring>

namespace
{

/** Finds a value for one of the two extractors, in whose name a text that begins with "0" is logged. */
int FindValue(const char *pcExtractor, std::string_view text, std::string_view key, std::string_view &value)
{
    // KEPT: the test is on the digit "0", not on an empty text; clients have lived with it for as long as there is
    // the API, and some families answer differently because of it.
    if (text.starts_with('0') || key.starts_with('0')) {
        Log_Crit("[%s]Incorrect source data or keyword data\n", pcExtractor);
        return -1;
    }
    return Text_FindValue(text, key, '&', value);
}

} // namespace

int XSS_Protect(std::string_view text)
{
    if (text.find_first_of("><)(%") != std::string_view::npos) {
        Trace("[%s] illegal characters : ><)(%% \n", __func__);
        return -1;
    }
    if (text.find("&&") != std::string_view::npos) {
        Trace("[%s] illegal characters : && \n", __func__);
        return -1;
    }
    return 0;
}

Key::Key(const char *pcFormat, ...)
{
    va_list args;
    va_start(args, pcFormat);
    Addv(pcFormat, args);
    va_end(args);
}

int GetStringValueFromText(std::string_view text, std::string_view key, std::span<char> out)
{
    std::string_view value;
    if (FindValue(__func__, text, key, value) != 0 || value.size() >= out.size())
        return -1;
    Text_Copy(out, value);
    return 0;
}

int GetIntValueFromText(std::string_view text, std::string_view key, int32_t &iValue)
{
    std::string_view value;
    if (FindValue(__func__, text, key, value) != 0 || value.size() > MAX_INT_TEXT)
        return -1;
    iValue = Text_ToInt(value);
    return 0;
}

int GetBoolTripleFromText(std::string_view text, std::string_view key1, std::string_view key2,
                          std::string_view key3, int32_t &iValue1, int32_t &iValue2, int32_t &iValue3)
{
    const struct {
        std::string_view key;
        int32_t &iValue;
    } flags[] = {{key1, iValue1}, {key2, iValue2}, {key3, iValue3}};
    for (const auto &flag : flags)
        if (GetIntValueFromText(text, flag.key, flag.iValue) != 0 || flag.iValue < 0 || flag.iValue > 1)
            return -1;
    return iValue1 == 1 && (iValue2 == 1 || iValue3 == 1) ? -1 : 0;
}

std::span<char> Request_SourceText(FDIPCInfo &request)
{
    return request.acQeryString[0] != '\0' ? std::span(request.acQeryString) : std::span(request.acPostBody);
}

bool Request_AppendAmpersand(std::span<char> source)
{
    const size_t length = strnlen(source.data(), source.size());
    if (length + 1 >= source.size())
        return false;
    source[length] = '&';
    source[length + 1] = '\0';
    return true;
}

int Parser_Begin(SessionSlot &slot, SetIndex index, const char *pcParser, std::string_view &text,
                 StatusKind emptyReason)
{
    slot.eMappingMethod = MappingMethod::Set;
    slot.iMappingIndex = static_cast<int32_t>(index);

    const std::span<char> source = Request_SourceText(slot.tRequest);
    if (source[0] == '\0' || !Request_AppendAmpersand(source)) {
        Log_Crit("[%s]QeryString and PostBody are NULL\n", pcParser);
        return Session_Refuse(slot, emptyReason);
    }
    text = source.data();
    if (XSS_Protect(text) != 0) {
        Log_Crit("[%s]XSS Protect\n", pcParser);
        return Session_Refuse(slot, StatusKind::BadRequest);
    }
    return 0;
}
