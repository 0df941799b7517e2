#include "camera/http/http_message.h"

#include <gtest/gtest.h>

namespace
{

using namespace camera;

std::string request(const std::string &line, const std::string &fields = "")
{
    return line + "\r\n" + fields + "\r\n";
}

TEST(HttpHead, AcceptedHeadsAreSplitAsReceived)
{
    struct Case {
        std::string line, fields, path, query;
        std::uint64_t contentLength = 0;
        bool expectsContinue = false;
    };
    const std::string longPath = "/" + std::string(126, 'p'), longQuery(4095, 'q');
    const Case cases[] = {
        {"GET /a%20b?x=%41&y=1+2 HTTP/1.1", "", "/a%20b", "x=%41&y=1+2"},
        {"GET /a?b?c HTTP/1.1", "", "/a", "b?c"},
        {"GET http://host:80/a?b HTTP/1.1", "", "/a", "b"},
        {"GET http://host?b HTTP/1.1", "", "/", "b"},
        {"POST /a HTTP/1.1", "Content-Length: 5000000000\r\n", "/a", "", 5000000000},
        {"POST /a HTTP/1.1", "Expect: 100-Continue\r\nContent-Length: 3\r\n", "/a", "", 3, true},
        {"POST /a HTTP/1.1", "Expect: 100-continue\r\n", "/a", ""}, // nothing to wait with
        {"POST /a HTTP/1.0", "Expect: 100-continue\r\nContent-Length: 3\r\n", "/a", "", 3},
        {"GET " + longPath + "?" + longQuery + " HTTP/1.1", "", longPath, longQuery},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.line + "\n" + test.fields);
        const auto result = parseHead(request(test.line, test.fields));
        const auto *head = std::get_if<HttpHead>(&result);
        ASSERT_NE(head, nullptr);
        EXPECT_EQ(head->method, test.line.substr(0, test.line.find(' ')));
        EXPECT_EQ(head->path, test.path);
        EXPECT_EQ(head->query, test.query);
        EXPECT_EQ(head->contentLength, test.contentLength);
        EXPECT_EQ(head->expectsContinue, test.expectsContinue);
    }
}

TEST(HttpHead, RefusedHeadsGetTheirStatus)
{
    const std::pair<std::string, int> cases[] = {
        {request("GET /"), 400},
        {"GET / HTTP/1.1\n\n", 400},
        {request("GET /\x01 HTTP/1.1"), 400},
        {request("OPTIONS * HTTP/1.1"), 400},
        {request("POST / HTTP/1.1", "Content-Length: 1\r\nContent-Length: 2\r\n"), 400},
        {request("POST / HTTP/1.1", "Content-Length: -1\r\n"), 400},
        {request("POST / HTTP/1.1", "Content-Length: 18446744073709551616\r\n"), 400},
        {request("POST / HTTP/1.1", "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n"), 400},
        {request("POST / HTTP/1.1", "Transfer-Encoding: chunked\r\n"), 411},
        {request("GET /" + std::string(127, 'p') + " HTTP/1.1"), 414},
        {request("GET /?" + std::string(4096, 'q') + " HTTP/1.1"), 414},
        {request("GET / HTTP/1.1", "Expect: rain\r\n"), 417},
        {request("GET / HTTP/2.0"), 505},
    };
    for (const auto &[text, status] : cases) {
        const auto result = parseHead(text);
        const auto *refusal = std::get_if<HttpRefusal>(&result);
        ASSERT_NE(refusal, nullptr) << text;
        EXPECT_EQ(refusal->status, status) << text;
    }
}

TEST(HttpResponse, HeadReplyTellsTheLengthAndLeavesTheBodyOut)
{
    const HttpResponse response{.contentType = "text/html", .body = "12345"};
    EXPECT_TRUE(serialise(response).ends_with("\r\n\r\n12345"));
    const std::string head = serialise(response, false);
    EXPECT_TRUE(head.ends_with("\r\n\r\n"));
    EXPECT_NE(head.find("Content-Length: 5\r\n"), std::string::npos);
}

} // namespace
