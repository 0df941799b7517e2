#include "camera/http_message.h"

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
        const char *what;
        std::string head;
        const char *method;
        const char *path;
        const char *query;
        std::uint64_t contentLength;
        bool expectsContinue;
    };
    const Case cases[] = {
        {"plain read", request("GET /common/info.cgi HTTP/1.1"), "GET", "/common/info.cgi", "", 0, false},
        {"HTTP/1.0", request("GET / HTTP/1.0"), "GET", "/", "", 0, false},
        {"encoding is kept", request("GET /a%20b?x=%41&y=1+2 HTTP/1.1"), "GET", "/a%20b", "x=%41&y=1+2", 0, false},
        {"query with a second question mark", request("GET /a?b?c HTTP/1.1"), "GET", "/a", "b?c", 0, false},
        {"empty query", request("GET /a? HTTP/1.1"), "GET", "/a", "", 0, false},
        {"absolute form", request("GET http://host:80/a?b HTTP/1.1"), "GET", "/a", "b", 0, false},
        {"absolute form without a path", request("GET http://host?b HTTP/1.1"), "GET", "/", "b", 0, false},
        {"another method", request("PROPFIND /a HTTP/1.1"), "PROPFIND", "/a", "", 0, false},
        {"body", request("POST /a HTTP/1.1", "Content-Length: 5000000000\r\n"), "POST", "/a", "", 5000000000,
         false},
        {"waiting body", request("POST /a HTTP/1.1", "Expect: 100-Continue\r\nContent-Length: 3\r\n"), "POST", "/a",
         "", 3, true},
        {"nothing to wait with", request("POST /a HTTP/1.1", "Expect: 100-continue\r\n"), "POST", "/a", "", 0,
         false},
        {"HTTP/1.0 knows no waiting", request("POST /a HTTP/1.0", "Expect: 100-continue\r\nContent-Length: 3\r\n"),
         "POST", "/a", "", 3, false},
        {"longest path and query",
         request("GET /" + std::string(126, 'p') + "?" + std::string(4095, 'q') + " HTTP/1.1"), "GET", nullptr,
         nullptr, 0, false},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.what);
        const auto result = parseHead(test.head);
        const auto *head = std::get_if<HttpHead>(&result);
        ASSERT_NE(head, nullptr);
        EXPECT_EQ(head->method, test.method);
        if (test.path != nullptr) {
            EXPECT_EQ(head->path, test.path);
            EXPECT_EQ(head->query, test.query);
        }
        EXPECT_EQ(head->contentLength, test.contentLength);
        EXPECT_EQ(head->expectsContinue, test.expectsContinue);
    }
}

TEST(HttpHead, RefusedHeadsGetTheirStatus)
{
    struct Case {
        const char *what;
        std::string head;
        int status;
    };
    const Case cases[] = {
        {"no request at all", "\r\n\r\n", 400},
        {"no version", request("GET /"), 400},
        {"bare line feeds", "GET / HTTP/1.1\n\n", 400},
        {"control character", request("GET /\x01 HTTP/1.1"), 400},
        {"no path", request("OPTIONS * HTTP/1.1"), 400},
        {"authority form", request("CONNECT host:80 HTTP/1.1"), 400},
        {"two lengths", request("POST / HTTP/1.1", "Content-Length: 1\r\nContent-Length: 2\r\n"), 400},
        {"negative length", request("POST / HTTP/1.1", "Content-Length: -1\r\n"), 400},
        {"length of 2^64", request("POST / HTTP/1.1", "Content-Length: 18446744073709551616\r\n"), 400},
        {"length and chunks", request("POST / HTTP/1.1", "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n"),
         400},
        {"chunks", request("POST / HTTP/1.1", "Transfer-Encoding: chunked\r\n"), 411},
        {"another coding", request("POST / HTTP/1.1", "Transfer-Encoding: gzip\r\n"), 411},
        {"path of 128", request("GET /" + std::string(127, 'p') + " HTTP/1.1"), 414},
        {"query of 4096", request("GET /?" + std::string(4096, 'q') + " HTTP/1.1"), 414},
        {"unknown expectation", request("GET / HTTP/1.1", "Expect: rain\r\n"), 417},
        {"HTTP/2", request("GET / HTTP/2.0"), 505},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.what);
        const auto result = parseHead(test.head);
        const auto *refusal = std::get_if<HttpRefusal>(&result);
        ASSERT_NE(refusal, nullptr);
        EXPECT_EQ(refusal->status, test.status);
    }
}

TEST(HttpHead, EndIsFoundWhereverTheTextWasCut)
{
    for (const std::string empty : {"\r\n\r\n", "\n\n", "\n\r\n"}) {
        const std::string head = "GET / HTTP/1.1" + empty;
        const std::string text = head + "body\n\nmore";
        for (size_t looked = 0; looked < head.size(); ++looked) {
            EXPECT_EQ(findHeadEnd(text.substr(0, looked)), 0u);
            EXPECT_EQ(findHeadEnd(text, looked), head.size()) << looked;
        }
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
