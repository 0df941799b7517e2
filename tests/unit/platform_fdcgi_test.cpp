#include "platform/fdcgi.h"
#include "tests/fakes/client_side.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace
{

/** A netstring of these pairs with a body behind it. */
std::string payload(const std::string &pairs, const std::string &body = {})
{
    return std::to_string(pairs.size()) + ":" + pairs + "," + body;
}

// An octal escape of three digits keeps the digit that follows a NUL apart from it: "\0000" is NUL and "0".
const std::string HEAD = "CONTENT_LENGTH\0000\0SCGI\0001\0"s;

} // namespace

class HandOverEndpoint : public testing::Test
{
  protected:
    HandOverEndpoint()
    {
        EXPECT_EQ(FDCGI_init(&handle, path.c_str()), 0);
        EXPECT_EQ(FDCGI_SetNonBlocking(handle), 0);
    }
    ~HandOverEndpoint() override { FDCGI_close(handle); }

    /** Sends the payload and reads it as the daemon does. */
    int read(std::string_view payload, int descriptors = 1)
    {
        client = handOverRaw(path, payload, descriptors);
        int socket = -1;
        const int result = FDCGI_read(handle, &socket);
        passed.reset(socket);
        return result;
    }

    TempRoot root;
    std::string path = root.path("/tmp/endpoint");
    FDCGI_Handle handle = nullptr;
    ClientSide client;
    FileDescriptor passed;
};

TEST_F(HandOverEndpoint, ReadsARequest)
{
    const std::string payload =
        "86:" + HEAD + "REQUEST_METHOD\0GET\0SCRIPT_NAME\0/common/info.cgi\0QUERY_STRING\0\0,"s;
    EXPECT_EQ(handOverPayload({.url = "/common/info.cgi"}), payload);
    ASSERT_EQ(read(payload), 0);
    EXPECT_STREQ(FDCGI_GetUrl(handle), "/common/info.cgi");
    EXPECT_STREQ(FDCGI_GetMethod(handle), "GET");
    EXPECT_STREQ(FDCGI_GetQueryString(handle), "");
    EXPECT_STREQ(FDCGI_GetContentLength(handle), "0");
    EXPECT_EQ(FDCGI_GetPostBody(handle), nullptr);
    EXPECT_EQ(FDCGI_GetPostBodyLength(handle), 0U);

    EXPECT_EQ(fcntl(passed.get(), F_GETFD), FD_CLOEXEC);
    ASSERT_EQ(send(passed.get(), "hello", 5, 0), 5);
    passed.reset();
    EXPECT_EQ(client.readAll(), "hello") << "the passed socket is the client's connection";
}

TEST_F(HandOverEndpoint, ReadsBodiesAndSkipsUnknownNames)
{
    const std::string body = "a=1\0b=2"s;
    ASSERT_EQ(read(payload(HEAD + "HTTPS\0on\0SCRIPT_NAME\0/x\0"s, body)), 0);
    EXPECT_STREQ(FDCGI_GetUrl(handle), "/x");
    EXPECT_EQ(FDCGI_GetMethod(handle), nullptr);
    EXPECT_EQ(FDCGI_GetQueryString(handle), nullptr);
    EXPECT_STREQ(FDCGI_GetPostBody(handle), "a=1");
    EXPECT_EQ(FDCGI_GetPostBodyLength(handle), body.size());
    ASSERT_EQ(read(payload(HEAD)), 0);
    EXPECT_EQ(FDCGI_GetUrl(handle), nullptr) << "nothing of the request before stays";
    EXPECT_EQ(FDCGI_GetPostBody(handle), nullptr);
    const std::string longest(FDCGI_MAX_DATAGRAM - payload(HEAD).size(), 'b');
    ASSERT_EQ(read(payload(HEAD, longest)), 0);
    EXPECT_EQ(FDCGI_GetPostBody(handle), longest);
}

TEST_F(HandOverEndpoint, RefusesAndClosesWhatIsMalformed)
{
    const std::string size = std::to_string(HEAD.size());
    const std::pair<const char *, std::string> cases[] = {
        {"nothing", ""},
        {"no netstring", "hello"},
        {"no digits", ":" + HEAD + ","},
        {"only digits", "24"},
        {"leading zero", "0" + payload(HEAD)},
        {"length beyond the datagram", "25:" + HEAD + ","},
        {"length far beyond the datagram", "99999999999999999999:" + HEAD + ","},
        {"length too small", "23:" + HEAD + ","},
        {"no comma", size + ":" + HEAD},
        {"another sign instead of the comma", size + ":" + HEAD + ";"},
        {"no pairs", payload("")},
        {"a name without value", payload(HEAD + "QUERY_STRING\0"s)},
        {"a value without end", payload(HEAD + "QUERY_STRING\0a=1"s)},
        {"a name without end", payload(HEAD + "QUERY_STRING"s)},
        {"an empty name", payload(HEAD + "\0x\0"s)},
        {"content length not first", payload("SCGI\0001\0CONTENT_LENGTH\0000\0"s)},
        {"no SCGI", payload("CONTENT_LENGTH\0000\0"s)},
        {"another SCGI", payload("CONTENT_LENGTH\0000\0SCGI\0002\0"s)},
        {"empty content length", payload("CONTENT_LENGTH\0\0SCGI\0001\0"s)},
        {"a name twice", payload(HEAD + "SCRIPT_NAME\0/a\0SCRIPT_NAME\0/b\0"s)},
        {"one byte too many", payload(HEAD, std::string(FDCGI_MAX_DATAGRAM + 1 - payload(HEAD).size(), 'b'))},
    };
    const size_t before = countDescriptors();
    const auto refused = [&](const std::string &payload, int descriptors) {
        EXPECT_EQ(read(payload, descriptors), -1);
        EXPECT_EQ(client.readAll(), "") << "closed";
        client.close();
        EXPECT_EQ(countDescriptors(), before);
    };
    for (const auto &[description, payload] : cases) {
        SCOPED_TRACE(description);
        refused(payload, 1);
    }
    for (const int descriptors : {0, 2, 15, 16, 200}) {
        SCOPED_TRACE(descriptors);
        refused(payload(HEAD), descriptors);
    }
    EXPECT_EQ(read(payload(HEAD)), 0) << "the next request is read";
    int socket = -1;
    EXPECT_EQ(FDCGI_read(handle, &socket), -1) << "nothing is left to read";
    EXPECT_EQ(socket, -1);
}

TEST_F(HandOverEndpoint, IsForOwnerAndGroupOnly)
{
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0660U);
    EXPECT_EQ(fcntl(FDCGI_GetSocketFd(handle), F_GETFD), FD_CLOEXEC);

    FDCGI_Handle other = nullptr;
    const size_t before = countDescriptors();
    EXPECT_EQ(FDCGI_init(&other, path.c_str()), -1) << "the path is taken";
    EXPECT_EQ(FDCGI_init(&other, root.path("/no/such/folder").c_str()), -1);
    EXPECT_EQ(FDCGI_init(&other, (root.path("/tmp/") + std::string(108, 'x')).c_str()), -1) << "too long";
    EXPECT_EQ(countDescriptors(), before);
}

TEST(FdcgiCompose, RefusesWhatCannotBeSent)
{
    std::string out(FDCGI_MAX_DATAGRAM, '\0');
    const FDCGI_Request request = {"GET", "/x", "", "0", {}};
    const size_t length = FDCGI_compose(request, out);
    ASSERT_GT(length, 0U);
    EXPECT_EQ(FDCGI_compose(request, std::span(out).first(length)), length);
    EXPECT_EQ(FDCGI_compose(request, std::span(out).first(length - 1)), 0U);
    EXPECT_EQ(FDCGI_compose({"GET", "/x", "a\0b"sv, "0", {}}, out), 0U) << "a NUL byte would forge a pair";
}
