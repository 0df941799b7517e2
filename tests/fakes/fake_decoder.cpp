#include "tests/fakes/fake_decoder.h"

#include "platform/unix_socket.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

/** What fills the queue of a decoder that blocks. */
static constexpr char FILLER = 'f';

void FakeDecoder::Start()
{
    m_socket.Reset(UnixSocket_Open(SOCK_DGRAM));
    Checked(UnixSocket_Bind(m_socket.Get(), m_path.c_str()), m_path);
}

void FakeDecoder::Vanish()
{
    m_fillers.clear();
    m_socket.Reset();
    unlink(m_path.c_str());
}

bool FakeDecoder::Receive(std::string &message, bool wait)
{
    pollfd readable = {m_socket.Get(), POLLIN, 0};
    if (poll(&readable, 1, wait ? static_cast<int>(TEST_DEADLINE.count()) : 0) <= 0)
        return false;
    message.resize(65536);
    const ssize_t got = recv(m_socket.Get(), message.data(), message.size(), MSG_DONTWAIT);
    message.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return got >= 0;
}

std::string FakeDecoder::Next()
{
    std::string message;
    if (!Receive(message, true))
        ADD_FAILURE() << "the decoder got nothing";
    return message;
}

std::vector<std::string> FakeDecoder::Messages()
{
    std::vector<std::string> messages;
    for (std::string message; Receive(message, false);)
        messages.push_back(message);
    return messages;
}

void FakeDecoder::Block()
{
    // A sender is stopped by the full queue or by what it has in flight itself: only a new one tells which.
    for (bool taken = true; taken;) {
        UniqueFd &filler = m_fillers.emplace_back(UnixSocket_Open(SOCK_DGRAM | SOCK_NONBLOCK));
        Checked(UnixSocket_Connect(filler.Get(), m_path.c_str()), m_path);
        taken = false;
        while (send(filler.Get(), &FILLER, sizeof FILLER, 0) > 0)
            taken = true;
    }
}

void FakeDecoder::Unblock()
{
    for (const std::string &message : Messages())
        EXPECT_EQ(message, std::string(1, FILLER)) << "a message came through to a decoder that blocks";
    m_fillers.clear();
}
