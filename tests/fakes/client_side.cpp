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

FileDescriptor connectTo(const std::string &socketPath)
{
    return FileDescriptor(checked(FDCGI_client_socket(socketPath.c_str()), socketPath));
}

FDCGI_Request toPlatform(const TestRequest &request, std::string &length)
{
    length = request.contentLength.empty() ? std::to_string(request.body.size()) : request.contentLength;
    return {request.method, request.url, request.query, length, request.body};
}

} // namespace

Connection makeConnection()
{
    int ends[2];
    checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

ClientSide::Got ClientSide::receive(bool wait)
{
    pollfd readable = {connection_.get(), POLLIN, 0};
    if (poll(&readable, 1, wait ? static_cast<int>(TEST_DEADLINE.count()) : 0) <= 0) {
        if (wait)
            ADD_FAILURE() << "nothing came; until then: " << received_;
        return Got::Nothing;
    }
    char bytes[65536];
    const ssize_t got = ::read(connection_.get(), bytes, sizeof bytes);
    if (got <= 0)
        return Got::End;
    received_.append(bytes, static_cast<size_t>(got));
    return Got::Bytes;
}

std::string ClientSide::take(size_t length)
{
    std::string taken = received_.substr(0, length);
    received_.erase(0, length);
    return taken;
}

std::string ClientSide::readAll()
{
    while (receive(true) == Got::Bytes)
        continue;
    return std::exchange(received_, {});
}

std::string ClientSide::readUntil(std::string_view sign)
{
    size_t at = 0;
    while ((at = received_.find(sign)) == std::string::npos) {
        const Got got = receive(true);
        if (got == Got::End)
            ADD_FAILURE() << "closed before \"" << sign << "\" came; until then: " << received_;
        if (got != Got::Bytes)
            return std::exchange(received_, {});
    }
    return take(at + sign.size());
}

std::string ClientSide::read(size_t length)
{
    while (received_.size() < length && receive(true) == Got::Bytes)
        continue;
    EXPECT_GE(received_.size(), length) << "closed before that";
    return take(length);
}

std::string ClientSide::readNow()
{
    while (receive(false) == Got::Bytes)
        continue;
    return std::exchange(received_, {});
}

void ClientSide::send(std::string_view bytes) const
{
    const ssize_t sent = ::send(connection_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    EXPECT_EQ(sent, static_cast<ssize_t>(bytes.size())) << strerror(errno);
}

ClientSide handOver(const std::string &socketPath, const TestRequest &request)
{
    Connection connection = makeConnection();
    std::string length;
    const FileDescriptor socket = connectTo(socketPath);
    checked(FDCGI_send(socket.get(), toPlatform(request, length), connection.daemon.get(), 0), request.url);
    return ClientSide(std::move(connection.client));
}

ClientSide handOverRaw(const std::string &socketPath, std::string_view payload, int descriptors)
{
    Connection connection = makeConnection();
    std::vector<int> passed(static_cast<size_t>(descriptors), connection.daemon.get());
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
    const FileDescriptor socket = connectTo(socketPath);
    checked(static_cast<int>(sendmsg(socket.get(), &message, MSG_NOSIGNAL)), "raw hand-over");
    return ClientSide(std::move(connection.client));
}

std::string handOverPayload(const TestRequest &request)
{
    std::string payload(FDCGI_MAX_DATAGRAM, '\0');
    std::string length;
    payload.resize(FDCGI_compose(toPlatform(request, length), payload));
    return payload;
}

void sendEventText(const TempRoot &root, std::string_view datagram)
{
    const std::string path = root.path("/var/run/eventmgr/emkelpa");
    const FileDescriptor socket = connectTo(path);
    checked(static_cast<int>(send(socket.get(), datagram.data(), datagram.size(), 0)), path);
}

void sendEvents(const TempRoot &root, std::span<const EventRecord> events)
{
    char datagram[4096];
    sendEventText(root, {datagram, Message_ComposeEvents(events, datagram)});
}
