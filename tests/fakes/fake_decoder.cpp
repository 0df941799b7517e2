#include "tests/fakes/fake_decoder.h"

#include "platform/unix_socket.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

/** What fills the queue of a decoder that blocks. */
static constexpr char FILLER = 'f';

void FakeDecoder::start()
{
    socket_.reset(UnixSocket_Open(SOCK_DGRAM));
    checked(UnixSocket_Bind(socket_.get(), path_.c_str()), path_);
}

void FakeDecoder::vanish()
{
    fillers_.clear();
    socket_.reset();
    unlink(path_.c_str());
}

bool FakeDecoder::receive(std::string &message, bool wait)
{
    pollfd readable = {socket_.get(), POLLIN, 0};
    if (poll(&readable, 1, wait ? static_cast<int>(TEST_DEADLINE.count()) : 0) <= 0)
        return false;
    message.resize(65536);
    const ssize_t got = recv(socket_.get(), message.data(), message.size(), MSG_DONTWAIT);
    message.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return got >= 0;
}

std::string FakeDecoder::next()
{
    std::string message;
    if (!receive(message, true))
        ADD_FAILURE() << "the decoder got nothing";
    return message;
}

std::vector<std::string> FakeDecoder::messages()
{
    std::vector<std::string> messages;
    for (std::string message; receive(message, false);)
        messages.push_back(message);
    return messages;
}

void FakeDecoder::block()
{
    // A sender is stopped by the full queue or by what it has in flight itself: only a new one tells which.
    for (bool taken = true; taken;) {
        FileDescriptor &filler = fillers_.emplace_back(UnixSocket_Open(SOCK_DGRAM | SOCK_NONBLOCK));
        checked(UnixSocket_Connect(filler.get(), path_.c_str()), path_);
        taken = false;
        while (send(filler.get(), &FILLER, sizeof FILLER, 0) > 0)
            taken = true;
    }
}

void FakeDecoder::unblock()
{
    for (const std::string &message : messages())
        EXPECT_EQ(message, std::string(1, FILLER)) << "a message came through to a decoder that blocks";
    fillers_.clear();
}
