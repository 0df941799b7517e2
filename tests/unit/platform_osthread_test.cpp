#include "platform/osthread.h"
#include "tests/fakes/client_side.h"

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>

namespace
{

constexpr uint32_t FOREVER_MS = 1000000;

using Message = std::array<char, OSMSG_SIZE>;

int send(OSMsgQueue &queue, uint64_t value)
{
    return OSMsgQueue_Send(&queue, std::bit_cast<Message>(value).data());
}

/** The next message, or 0 when none came. */
uint64_t receive(OSMsgQueue &queue, uint32_t timeoutMs)
{
    Message message;
    return OSMsgQueue_Receive(&queue, message.data(), timeoutMs) == 0 ? std::bit_cast<uint64_t>(message) : 0;
}

/** A thread of the platform's that runs a function of the test's. */
class TestThread
{
  public:
    explicit TestThread(std::function<void()> body) : body_(std::move(body))
    {
        const OSThreadAttributes attributes = {[](void *self) { static_cast<TestThread *>(self)->body_(); }, this};
        EXPECT_EQ(OSThread_KeyCreate(), 0);
        EXPECT_EQ(OSThread_Initial(&thread_, &attributes), 0);
        EXPECT_EQ(OSThread_Start(&thread_), 0);
    }
    ~TestThread() { release(); }
    TestThread(const TestThread &) = delete;
    TestThread &operator=(const TestThread &) = delete;

    void release() { OSThread_Release(&thread_); }

  private:
    std::function<void()> body_;
    OSThread thread_ = {};
};

} // namespace

TEST(OSMsgQueue, IsBoundedAndKeepsTheOrder)
{
    OSMsgQueue queue;
    EXPECT_EQ(OSMsgQueue_Initial(&queue, 5), -1);
    OSMsgQueue_Release(&queue); // of one that was never created: nothing
    ASSERT_EQ(OSMsgQueue_Initial(&queue, 3), 0);
    EXPECT_EQ(receive(queue, 5), 0U);
    for (uint64_t i = 1; i < 20; i += 2) { // around the ring several times
        EXPECT_EQ(send(queue, i) + send(queue, i + 1), 0);
        EXPECT_EQ(receive(queue, FOREVER_MS), i);
        EXPECT_EQ(receive(queue, FOREVER_MS), i + 1);
    }
    for (uint64_t i = 1; i <= 3; ++i)
        EXPECT_EQ(send(queue, i), 0);
    EXPECT_EQ(send(queue, 4), -1) << "full";
    EXPECT_EQ(receive(queue, 0), 1U) << "what was there is untouched";
    OSMsgQueue_Release(&queue);
}

TEST(OSThread, TalksThroughQueuesWithoutSignalsAndLeavesThemUnlocked)
{
    OSMsgQueue questions, answers;
    ASSERT_EQ(OSMsgQueue_Initial(&questions, 1), 0);
    ASSERT_EQ(OSMsgQueue_Initial(&answers, 1), 0);
    TestThread thread([&] {
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        const bool signals = sigismember(&blocked, SIGTERM) == 0 || sigismember(&blocked, SIGUSR1) == 0;
        while (!OSThread_StopRequested()) {
            const uint64_t question = receive(questions, FOREVER_MS);
            (void)send(answers, signals ? 1 : question * 2);
        }
    });
    EXPECT_EQ(send(questions, 21), 0);
    EXPECT_EQ(receive(answers, FOREVER_MS), 42U);
    thread.release(); // it waits in the receive
    thread.release(); // nothing any more
    EXPECT_EQ(send(questions, 5), 0) << "the ended thread has not kept the queue locked";
    EXPECT_EQ(receive(questions, 0), 5U);
    OSMsgQueue_Release(&questions);
    OSMsgQueue_Release(&answers);
}

TEST(OSThread, EveryWaitEndsAtOnceWhenTheThreadIsReleased)
{
    const Connection pair = makeConnection(), data = makeConnection();
    ASSERT_EQ(write(data.client.get(), "x", 1), 1);
    OSMsgQueue queue = {};
    ASSERT_EQ(OSMsgQueue_Initial(&queue, 1), 0);
    const auto waitReadable = [](const Connection &c) {
        while (OSThread_WaitReadable(c.daemon.get(), FOREVER_MS) != OSWait::Stopped)
            continue;
    };
    const std::function<void()> waits[] = {
        [&] { EXPECT_EQ(receive(queue, FOREVER_MS), 0U); },
        [&] { waitReadable(pair); },
        [&] { waitReadable(data); }, // a stop goes first
        [] {
            for (int i = 0; i < 1000; ++i)
                OSThread_SleepMs(FOREVER_MS);
        },
    };
    for (const auto &wait : waits) {
        SCOPED_TRACE(&wait - waits);
        const auto begin = std::chrono::steady_clock::now();
        std::atomic<bool> ended = false;
        TestThread thread([&] {
            wait();
            EXPECT_TRUE(OSThread_StopRequested());
            ended = true;
        });
        thread.release();
        EXPECT_TRUE(ended);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    }
    OSMsgQueue_Release(&queue);
}

TEST(OSThread, AWaitTellsWhatHappened)
{
    Connection pair = makeConnection();
    EXPECT_EQ(OSThread_WaitReadable(pair.daemon.get(), 5), OSWait::TimedOut);
    ASSERT_EQ(write(pair.client.get(), "x", 1), 1);
    EXPECT_EQ(OSThread_WaitReadable(pair.daemon.get(), FOREVER_MS), OSWait::Readable);
    char byte = 0;
    ASSERT_EQ(read(pair.daemon.get(), &byte, 1), 1);
    pair.client.reset();
    EXPECT_EQ(OSThread_WaitReadable(pair.daemon.get(), FOREVER_MS), OSWait::Readable) << "the end is to be read";
    const int closed = pair.daemon.get();
    pair.daemon.reset();
    EXPECT_EQ(OSThread_WaitReadable(closed, FOREVER_MS), OSWait::Failed);
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(OSThread_StopRequested()) << "nobody asks the test's own thread to stop";
}

TEST(OSThread, IsNotStartedWithoutItsKeyOrItsFunctionAndThenTouchesNothing)
{
    ASSERT_EQ(OSThread_KeyCreate(), 0);
    OSThread_KeyDestroy();
    OSThread thread = {}, never = {};
    OSMsgQueue queue = {};
    const OSThreadAttributes attributes = {[](void *) {}, nullptr}, nothing = {nullptr, nullptr};
    EXPECT_EQ(OSThread_Initial(&thread, &nothing), -1);
    ASSERT_EQ(OSThread_Initial(&thread, &attributes), 0);
    EXPECT_EQ(OSThread_Start(&thread), -1);
    OSThread_Release(&thread);
    OSThread_Release(&never);
    OSMsgQueue_Release(&queue);
    EXPECT_EQ(send(queue, 1), -1);
    EXPECT_EQ(receive(queue, FOREVER_MS), 0U);
    EXPECT_NE(fcntl(0, F_GETFD), -1) << "descriptor 0 is not the queue's or the thread's";
}
