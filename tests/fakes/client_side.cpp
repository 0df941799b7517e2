#include "tests/fakes/client_side.h"

#include "platform/fdcgi.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <vector>

namespace
{

struct Connection {
    UniqueFd client;
    UniqueFd daemon;
};

Connection MakeConnection()
{
    int ends[2];
    Checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

UniqueFd ConnectTo(const std::string &socketPath)
{
    return UniqueFd(Checked(FDCGI_client_socket(socketPath.c_str()), socketPath));
}

FDCGI_Request ToPlatform(const TestRequest &request, std::string &length)
{
    length = request.contentLength.empty() ? std::to_string(request.body.size()) : request.contentLength;
    return {request.method, request.url, request.query, length, request.body};
}

} // namespace

ClientSide::Got ClientSide::ReadSome(std::string &into, bool wait)
{
    pollfd readable = {m_socket.Get(), POLLIN, 0};
    if (poll(&readable, 1, wait ? static_cast<int>(TEST_DEADLINE.count()) : 0) <= 0) {
        if (wait)
            ADD_FAILURE() << "nothing came; until then: " << into;
        return Got::Nothing;
    }
    char bytes[65536];
    const ssize_t got = recv(m_socket.Get(), bytes, sizeof bytes, 0);
    if (got <= 0)
        return Got::End;
    into.append(bytes, static_cast<size_t>(got));
    return Got::Bytes;
}

std::string ClientSide::ReadAll()
{
    std::string text;
    while (ReadSome(text, true) == Got::Bytes)
        continue;
    return text;
}

std::string ClientSide::ReadUntil(std::string_view end)
{
    std::string text;
    while (!text.ends_with(end)) {
        const Got got = ReadSome(text, true);
        if (got == Got::End)
            ADD_FAILURE() << "closed before \"" << end << "\" came; until then: " << text;
        if (got != Got::Bytes)
            break;
    }
    return text;
}

std::string ClientSide::ReadNow()
{
    std::string text;
    while (ReadSome(text, false) == Got::Bytes)
        continue;
    return text;
}

void ClientSide::Send(std::string_view bytes) const
{
    const ssize_t sent = send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    EXPECT_EQ(sent, static_cast<ssize_t>(bytes.size())) << strerror(errno);
}

ClientSide HandOver(const std::string &socketPath, const TestRequest &request)
{
    Connection connection = MakeConnection();
    std::string length;
    const UniqueFd socket = ConnectTo(socketPath);
    Checked(FDCGI_send(socket.Get(), ToPlatform(request, length), connection.daemon.Get(), 0), request.url);
    return ClientSide(std::move(connection.client));
}

ClientSide HandOverRaw(const std::string &socketPath, std::string_view payload, int descriptors)
{
    Connection connection = MakeConnection();
    std::vector<int> passed(static_cast<size_t>(descriptors), connection.daemon.Get());
    std::vector<char> control(CMSG_SPACE(sizeof(int) * passed.size()));
    iovec piece = {const_cast<char *>(payload.data()), payload.size()};
    msghdr message = {};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    if (descriptors > 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int) * passed.size());
        memcpy(CMSG_DATA(header), passed.data(), sizeof(int) * passed.size());
    }
    const UniqueFd socket = ConnectTo(socketPath);
    Checked(static_cast<int>(sendmsg(socket.Get(), &message, MSG_NOSIGNAL)), "raw hand-over");
    return ClientSide(std::move(connection.client));
}

std::string HandOverPayload(const TestRequest &request)
{
    std::string payload(FDCGI_MAX_DATAGRAM, '\0');
    std::string length;
    payload.resize(FDCGI_compose(ToPlatform(request, length), payload));
    return payload;
}

void SendEventText(const TempRoot &root, std::string_view datagram)
{
    const std::string path = root.Path("/var/run/eventmgr/emkelpa");
    const UniqueFd socket = ConnectTo(path);
    Checked(static_cast<int>(send(socket.Get(), datagram.data(), datagram.size(), 0)), path);
}

void SendEvents(const TempRoot &root, std::span<const EventRecord> events)
{
    char datagram[4096];
    SendEventText(root, {datagram, Message_ComposeEvents(events, datagram)});
}
