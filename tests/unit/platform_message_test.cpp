#include "platform/message.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

TEST(MessageGetTypeLength, ReadsTheHeaderLine)
{
    const struct {
        std::string text;
        int result;
        int32_t type, header, body;
    } cases[] = {
        {"MSG 1 5\n<a/>x", 0, 1, 8, 5},
        {"MSG 1 0\n", 0, 1, 8, 0},
        {"MSG 27 2\nabcd", 0, 27, 9, 2}, // more than announced is no error
        {"MSG 999999999 1\nx", 0, 999999999, 16, 1},
        {"MSG 1 6\n<a/>x", -1, 0, 0, 0},
        {"MSG 1 1000000000\nx", -1, 0, 0, 0},
        {"MSG 1 99999999999999999999\nx", -1, 0, 0, 0},
        {"MSG 1 -1\nx", -1, 0, 0, 0},
        {"MSG -1 1\nx", -1, 0, 0, 0},
        {"MSG 1  1\nx", -1, 0, 0, 0},
        {"MSG 1 1 \nx", -1, 0, 0, 0},
        {"MSG 1 1\r\nx", -1, 0, 0, 0},
        {"MSG  1\nx", -1, 0, 0, 0},
        {"MSG 1 \nx", -1, 0, 0, 0},
        {"MSG 1\nx", -1, 0, 0, 0},
        {"MSG 1 1", -1, 0, 0, 0},
        {"MSG a 1\nx", -1, 0, 0, 0},
        {"msg 1 1\nx", -1, 0, 0, 0},
        {" MSG 1 1\nx", -1, 0, 0, 0},
        {"MSG ", -1, 0, 0, 0},
        {"", -1, 0, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        int32_t type = 0, header = 0, body = 0;
        EXPECT_EQ(Message_GetTypeLength(c.text.data(), c.text.size(), &type, &header, &body), c.result);
        if (c.result != 0)
            continue;
        EXPECT_EQ(type, c.type);
        EXPECT_EQ(header, c.header);
        EXPECT_EQ(body, c.body);
    }
}

namespace
{

/** The events of an XML text as "{index channel type state time}", or "failed". */
std::string Parse(const std::string &xml, int32_t capacity = 10)
{
    std::vector<EventRecord> records(static_cast<size_t>(capacity) + 1, EventRecord{-9, -9, -9, -9, -9});
    int32_t count = capacity;
    const XML_Parser parser = XML_ParserCreate(nullptr);
    const int result = Message_Parse_Event(parser, xml.data(), xml.size(), &count, records.data());
    XML_ParserFree(parser);
    EXPECT_EQ(records.back().iIndex, -9) << "written past the room";
    if (result != 0)
        return "failed";
    std::string text;
    for (int32_t i = 0; i < count; ++i) {
        const EventRecord &r = records[static_cast<size_t>(i)];
        for (const auto &[before, value] :
             {std::pair{'{', r.iIndex}, {' ', r.iChannel}, {' ', r.iType}, {' ', r.iState}, {' ', r.iTime}})
            text += before + std::to_string(value);
        text += '}';
    }
    return text;
}

} // namespace

TEST(MessageParseEvent, ReadsTheEventElements)
{
    const struct {
        const char *description;
        const char *xml;
        const char *expected;
    } cases[] = {
        {"all attributes", R"(<eventmsg><event index="1" channel="2" type="3" state="4" time="5"/></eventmsg>)",
         "{1 2 3 4 5}"},
        {"any order, other attributes, a declaration, blanks",
         "<?xml version=\"1.0\"?>\n<eventmsg a='b'>\n <event x='y' state='4' type='3' "
         "index='1'></event>\n</eventmsg>\n",
         "{1 0 3 4 0}"},
        {"channel and time may be missing or unreadable",
         R"(<eventmsg><event index="1" channel="" type="3" state="4" time="now"/></eventmsg>)", "{1 0 3 4 0}"},
        {"negative numbers and the limits",
         R"(<eventmsg><event index="-1" type="2147483647" state="-2147483648"/></eventmsg>)",
         "{-1 0 2147483647 -2147483648 0}"},
        {"none", "<eventmsg/>", ""},
        {"in order",
         R"(<eventmsg><event index="1" type="1" state="1"/><event index="0" type="1" state="2"/></eventmsg>)",
         "{1 0 1 1 0}{0 0 1 2 0}"},
        {"other elements, and events inside them, are passed over",
         R"(<eventmsg><note><event index="x"/></note><event index="1" type="1" state="1"/></eventmsg>)",
         "{1 0 1 1 0}"},
        {"no index", R"(<eventmsg><event type="1" state="1"/></eventmsg>)", "failed"},
        {"no type", R"(<eventmsg><event index="1" state="1"/></eventmsg>)", "failed"},
        {"no state", R"(<eventmsg><event index="1" type="1"/></eventmsg>)", "failed"},
        {"index is no number", R"(<eventmsg><event index="1x" type="1" state="1"/></eventmsg>)", "failed"},
        {"empty type", R"(<eventmsg><event index="1" type="" state="1"/></eventmsg>)", "failed"},
        {"state beyond 32 bits", R"(<eventmsg><event index="1" type="1" state="2147483648"/></eventmsg>)",
         "failed"},
        {"state beyond 64 bits", R"(<eventmsg><event index="1" type="1" state="99999999999999999999"/></eventmsg>)",
         "failed"},
        {"the second event is bad",
         R"(<eventmsg><event index="1" type="1" state="1"/><event index="1" type="1"/></eventmsg>)", "failed"},
        {"another root", R"(<events><event index="1" type="1" state="1"/></events>)", "failed"},
        {"not closed", R"(<eventmsg><event index="1" type="1" state="1"/>)", "failed"},
        {"crossed", "<eventmsg><event></eventmsg></event>", "failed"},
        {"text behind", "<eventmsg/>more", "failed"},
        {"an attribute twice", R"(<eventmsg><event index="1" index="2" type="1" state="1"/></eventmsg>)", "failed"},
        {"no XML", "input 1 on", "failed"},
        {"empty", "", "failed"},
        {"invalid UTF-8", "<eventmsg a='\xFF'/>", "failed"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Parse(c.xml), c.expected) << c.description;
}

TEST(MessageParseEvent, DropsWhatIsBeyondTheRoom)
{
    std::string xml = "<eventmsg>", expected;
    for (int i = 0; i < 12; ++i) {
        xml += "<event index=\"" + std::to_string(i) + "\" type=\"1\" state=\"1\"/>";
        if (i < 10)
            expected += "{" + std::to_string(i) + " 0 1 1 0}";
    }
    EXPECT_EQ(Parse(xml + "</eventmsg>"), expected);
    EXPECT_EQ(Parse(xml + "</eventmsg>", 1), "{0 0 1 1 0}");
    EXPECT_EQ(Parse(xml + "<event index=\"bad\"/></eventmsg>"), "failed") << "it is still read";
}

TEST(MessageParseEvent, DoesNotExpandBombs)
{
    std::string xml = "<!DOCTYPE eventmsg [<!ENTITY a \"aaaaaaaaaa\">";
    for (char c = 'b'; c <= 'i'; ++c) {
        xml += std::string("<!ENTITY ") + c + " \"";
        for (int i = 0; i < 20; ++i)
            xml += std::string("&") + static_cast<char>(c - 1) + ";";
        xml += "\">";
    }
    EXPECT_EQ(Parse(xml + "]><eventmsg>&i;</eventmsg>"), "failed");
}

TEST(MessageComposeEvents, WritesWhatTheReceivingEndReads)
{
    char acMessage[4096];
    const EventRecord records[] = {{0, 1, 1, 2, 1700000000}, {-1, 0, 3, 1, 0}};
    const size_t length = Message_ComposeEvents(records, acMessage);
    EXPECT_EQ(std::string(acMessage, length),
              "MSG 1 147\n<eventmsg><event index=\"0\" channel=\"1\" type=\"1\" state=\"2\" time=\"1700000000\"/>"
              "<event index=\"-1\" channel=\"0\" type=\"3\" state=\"1\" time=\"0\"/></eventmsg>");
    EXPECT_EQ(Message_ComposeEvents(records, std::span(acMessage, length)), 0U) << "no room for the terminator";
    EXPECT_EQ(Message_ComposeEvents(std::vector<EventRecord>(200), acMessage), 0U);
}
