#include "platform/message.h"

#include <gtest/gtest.h>

TEST(MessageGetTypeLength, ReadsTheHeaderLine)
{
    const auto read = [](const std::string &text) -> std::string {
        int32_t type = 0, header = 0, body = 0;
        if (Message_GetTypeLength(text.data(), text.size(), &type, &header, &body) != 0)
            return "failed";
        return std::to_string(type) + " " + std::to_string(header) + " " + std::to_string(body);
    };
    EXPECT_EQ(read("MSG 1 5\n<a/>x"), "1 8 5");
    EXPECT_EQ(read("MSG 27 2\nabcd"), "27 9 2") << "more than announced is no error";
    EXPECT_EQ(read("MSG 999999999 1\nx"), "999999999 16 1");
    for (const char *bad :
         {"MSG 1 6\n<a/>x", "MSG 1 1000000000\nx", "MSG 1 -1\nx", "MSG -1 1\nx", "MSG 1  1\nx", "MSG 1 1 \nx",
          "MSG 1 1\r\nx", "MSG  1\nx", "MSG 1 \nx", "MSG 1\nx", "MSG 1 1", "msg 1 1\nx", "MSG ", ""})
        EXPECT_EQ(read(bad), "failed") << bad;
}

namespace
{

/** The events of an XML text as "{index channel type state time}", or "failed". */
std::string parse(const std::string &xml, int32_t capacity = 10)
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
    const auto inside = [](const std::string &elements) { return parse("<eventmsg>" + elements + "</eventmsg>"); };
    const std::string event = R"(<event index="1" type="1" state="1"/>)";
    EXPECT_EQ(inside(R"(<event index="1" channel="2" type="3" state="4" time="5"/>)"), "{1 2 3 4 5}");
    EXPECT_EQ(inside(R"(<event index="-1" type="2147483647" state="-2147483648"/>)"),
              "{-1 0 2147483647 -2147483648 0}");
    EXPECT_EQ(inside(event + R"(<event index="0" type="1" state="2"/>)"), "{1 0 1 1 0}{0 0 1 2 0}");
    EXPECT_EQ(inside(R"(<note><event index="x"/></note>)" + event), "{1 0 1 1 0}") << "inside other elements";
    EXPECT_EQ(parse("<?xml version=\"1.0\"?>\n<eventmsg a='b'>\n <event x='y' state='4' type='3' "
                    "index='1'></event>\n</eventmsg>\n"),
              "{1 0 3 4 0}");
    for (const char *bad : {R"(<event type="1" state="1"/>)", R"(<event index="1x" type="1" state="1"/>)",
                            R"(<event index="1" type="" state="1"/>)",
                            R"(<event index="1" type="1" state="2147483648"/>)", "<event></eventmsg></event>"}) {
        EXPECT_EQ(inside(bad), "failed") << bad;
        EXPECT_EQ(inside(event + bad), "failed") << "behind a good one: " << bad;
    }
    for (const std::string &bad : {"<events>" + event + "</events>", "<eventmsg>" + event, std::string(),
                                   std::string("<eventmsg/>more"), std::string("<eventmsg a='\xFF'/>")})
        EXPECT_EQ(parse(bad), "failed") << bad;
}

TEST(MessageParseEvent, DropsWhatIsBeyondTheRoom)
{
    std::string xml = "<eventmsg>", expected;
    for (int i = 0; i < 12; ++i) {
        xml += "<event index=\"" + std::to_string(i) + "\" type=\"1\" state=\"1\"/>";
        if (i < 10)
            expected += "{" + std::to_string(i) + " 0 1 1 0}";
    }
    EXPECT_EQ(parse(xml + "</eventmsg>"), expected);
    EXPECT_EQ(parse(xml + "</eventmsg>", 1), "{0 0 1 1 0}");
    EXPECT_EQ(parse(xml + "<event index=\"bad\"/></eventmsg>"), "failed") << "it is still read";
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
    EXPECT_EQ(parse(xml + "]><eventmsg>&i;</eventmsg>"), "failed");
    EXPECT_EQ(parse("<?xml version=\"1.0\"?><eventmsg/>"), "");
    EXPECT_EQ(parse("<!DOCTYPE eventmsg><eventmsg/>"), "failed") << "not even one that does no harm";
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
