#include "tests/talk/small_web_server.h"

#include "platform/fdcgi.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sstream>
#include <sys/eventfd.h>
#include <sys/socket.h>

SmallWebServer::SmallWebServer(std::string handOverPath, std::string reply)
    : m_handOverPath(std::move(handOverPath)), m_reply(std::move(reply)),
      m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_stop(eventfd(0, EFD_CLOEXEC))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(m_listener.Get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(listen(m_listener.Get(), SOMAXCONN), 0);
    m_thread = std::thread([this] { Run(); });
}

SmallWebServer::~SmallWebServer()
{
    eventfd_write(m_stop.Get(), 1);
    m_thread.join();
}

std::string SmallWebServer::Address() const
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    getsockname(m_listener.Get(), reinterpret_cast<sockaddr *>(&address), &length);
    return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

void SmallWebServer::Run()
{
    for (;;) {
        pollfd waiting[] = {{m_stop.Get(), POLLIN, 0}, {m_listener.Get(), POLLIN, 0}};
        if (poll(waiting, 2, -1) < 0 || waiting[0].revents != 0)
            return;
        const UniqueFd connection(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        const timeval limit = {TEST_DEADLINE.count() / 1000, 0};
        setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        Serve(connection);
    }
}

void SmallWebServer::Serve(const UniqueFd &connection)
{
    std::string head;
    for (char byte = 0; !head.ends_with("\r\n\r\n") && recv(connection.Get(), &byte, 1, 0) == 1;)
        head += byte;
    m_heads.push_back(head);
    if (!m_reply.empty()) {
        send(connection.Get(), m_reply.data(), m_reply.size(), MSG_NOSIGNAL);
        return;
    }
    std::istringstream words(head);
    std::string method;
    std::string target;
    words >> method >> target;
    const size_t question = target.find('?');
    const size_t length = head.find("Content-Length: ");
    const std::string url = target.substr(0, question);
    const std::string query = question != std::string::npos ? target.substr(question + 1) : "";
    const std::string contentLength =
        length != std::string::npos ? head.substr(length + 16, head.find('\r', length) - length - 16) : "0";
    const UniqueFd daemon(FDCGI_client_socket(m_handOverPath.c_str()));
    EXPECT_EQ(FDCGI_send(daemon.Get(), {method, url, query, contentLength, ""}, connection.Get(), 0), 0);
}
