#include "tests/fakes/fake_hand_back.h"

#include "platform/fdipc.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

FakeHandBack::FakeHandBack(std::string path) : m_path(std::move(path))
{
    BindAnew();
}

FakeHandBack::~FakeHandBack()
{
    close(m_socket);
}

void FakeHandBack::BindAnew()
{
    if (m_socket >= 0)
        close(m_socket);
    m_socket = fdipc_server_socket(m_path.c_str());
    EXPECT_GE(m_socket, 0) << m_path;
}

std::string FakeHandBack::Take(const std::string &greeting)
{
    pollfd waiting = {m_socket, POLLIN, 0};
    if (poll(&waiting, 1, 10000) != 1) {
        ADD_FAILURE() << "no socket was handed back";
        return {};
    }
    char text[4096];
    int passed = -1;
    const long length = fdipc_receive(m_socket, text, &passed);
    if (length < 0) {
        ADD_FAILURE() << "a hand-back without exactly one descriptor";
        return {};
    }
    EXPECT_EQ(send(passed, greeting.data(), greeting.size(), MSG_NOSIGNAL), static_cast<ssize_t>(greeting.size()));
    close(passed);
    return {text, static_cast<size_t>(length)};
}
