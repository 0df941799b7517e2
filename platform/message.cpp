#include "platform/message.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr std::string_view HEADER_WORD = "MSG ";

/** Reads the decimal of one to nine digits that the text begins with; returns their number, 0 for none or more. */
size_t TakeNumber(std::string_view text, int32_t &iValue)
{
    size_t digits = 0;
    iValue = 0;
    while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') {
        if (digits == 9)
            return 0;
        iValue = iValue * 10 + (text[digits++] - '0');
    }
    return digits;
}

struct EventReading {
    XML_Parser parser;
    EventRecord *ptRecords;
    int32_t iCapacity;
    int32_t iCount;
    int iDepth;
    bool failed;
};

struct EventAttribute {
    const char *pcName;
    int32_t EventRecord::*piField;
    bool required;
};

constexpr EventAttribute EVENT_ATTRIBUTES[] = {
    {"index", &EventRecord::iIndex, true}, {"channel", &EventRecord::iChannel, false},
    {"type", &EventRecord::iType, true},   {"state", &EventRecord::iState, true},
    {"time", &EventRecord::iTime, false},
};

/** Converts a whole attribute text; false when it is no 32-bit decimal number. */
bool ReadInteger(const char *pcText, int32_t &iValue)
{
    char *pcEnd = nullptr;
    errno = 0;
    const long long value = strtoll(pcText, &pcEnd, 10);
    if (pcEnd == pcText || *pcEnd != '\0' || errno != 0 || value < INT32_MIN || value > INT32_MAX)
        return false;
    iValue = static_cast<int32_t>(value);
    return true;
}

bool ReadEvent(const XML_Char **ppcAttributes, EventRecord &record)
{
    for (const EventAttribute &attribute : EVENT_ATTRIBUTES) {
        const XML_Char **ppc = ppcAttributes;
        while (*ppc != nullptr && strcmp(*ppc, attribute.pcName) != 0)
            ppc += 2;
        const bool found = *ppc != nullptr && ReadInteger(ppc[1], record.*attribute.piField);
        if (!found && attribute.required)
            return false;
        if (!found)
            record.*attribute.piField = 0;
    }
    return true;
}

void XMLCALL StartElement(void *pvReading, const XML_Char *pcName, const XML_Char **ppcAttributes)
{
    auto &reading = *static_cast<EventReading *>(pvReading);
    const int iDepth = reading.iDepth++;
    EventRecord record = {};
    if (iDepth == 0) {
        reading.failed = strcmp(pcName, "eventmsg") != 0;
    } else if (iDepth == 1 && strcmp(pcName, "event") == 0) {
        if (!ReadEvent(ppcAttributes, record))
            reading.failed = true;
        else if (reading.iCount < reading.iCapacity)
            reading.ptRecords[reading.iCount++] = record;
    }
    if (reading.failed)
        XML_StopParser(reading.parser, XML_FALSE);
}

void XMLCALL EndElement(void *pvReading, const XML_Char *)
{
    static_cast<EventReading *>(pvReading)->iDepth--;
}

/** With a document type come entities, and with those a short message grows to megabytes or takes seconds. */
void XMLCALL RefuseDocumentType(void *pvReading, const XML_Char *, const XML_Char *, const XML_Char *, int)
{
    auto &reading = *static_cast<EventReading *>(pvReading);
    reading.failed = true;
    XML_StopParser(reading.parser, XML_FALSE);
}

} // namespace

int Message_GetTypeLength(const char *pcText, size_t length, int32_t *piType, int32_t *piHeaderLength,
                          int32_t *piBodyLength)
{
    std::string_view rest(pcText, length);
    if (!rest.starts_with(HEADER_WORD))
        return -1;
    rest.remove_prefix(HEADER_WORD.size());
    for (const char cEnd : {' ', '\n'}) {
        int32_t *piNumber = cEnd == ' ' ? piType : piBodyLength;
        const size_t digits = TakeNumber(rest, *piNumber);
        if (digits == 0 || digits == rest.size() || rest[digits] != cEnd)
            return -1;
        rest.remove_prefix(digits + 1);
    }
    if (rest.size() < static_cast<size_t>(*piBodyLength))
        return -1;
    *piHeaderLength = static_cast<int32_t>(length - rest.size());
    return 0;
}

int Message_Parse_Event(XML_Parser parser, const char *pcXml, size_t length, int32_t *piCount,
                        EventRecord *ptRecords)
{
    if (parser == nullptr || length > INT_MAX)
        return -1;
    EventReading reading = {parser, ptRecords, *piCount, 0, 0, false};
    XML_SetUserData(parser, &reading);
    XML_SetElementHandler(parser, StartElement, EndElement);
    XML_SetStartDoctypeDeclHandler(parser, RefuseDocumentType);
    if (XML_Parse(parser, pcXml, static_cast<int>(length), XML_TRUE) != XML_STATUS_OK || reading.failed)
        return -1;
    *piCount = reading.iCount;
    return 0;
}

size_t Message_ComposeEvents(std::span<const EventRecord> records, std::span<char> out)
{
    char acXml[4096];
    size_t length = 0;
    const auto add = [&](const char *pcFormat, auto... values) {
        const int iLength = snprintf(acXml + length, sizeof acXml - length, pcFormat, values...);
        length += static_cast<size_t>(iLength);
        return length < sizeof acXml;
    };
    bool fits = add("%s", "<eventmsg>");
    for (const EventRecord &record : records)
        fits = fits && add("<event index=\"%d\" channel=\"%d\" type=\"%d\" state=\"%d\" time=\"%d\"/>",
                           record.iIndex, record.iChannel, record.iType, record.iState, record.iTime);
    fits = fits && add("%s", "</eventmsg>");
    if (!fits)
        return 0;
    const int iTotal = snprintf(out.data(), out.size(), "MSG %d %zu\n%s", MESSAGE_TYPE_EVENT, length, acXml);
    return static_cast<size_t>(iTotal) < out.size() ? static_cast<size_t>(iTotal) : 0;
}
