#include "tests/fakes/in_process_server.h"

#include "netutil/clock.h"
#include "platform/unix_socket.h"
#include "server/globals.h"
#include "tests/fakes/test_camera.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/socket.h>

namespace
{

FakeClock *g_clock = nullptr;
NetUtility_Clock g_realClock;

uint32_t FakeTickMs()
{
    return g_clock->now += g_clock->step;
}

void FakeSleepMs(uint32_t milliseconds)
{
    g_clock->sleeps.push_back(milliseconds);
    g_clock->now += milliseconds;
}

} // namespace

FakeClock::FakeClock()
{
    g_clock = this;
    g_realClock = g_tClock;
    g_tClock = {FakeTickMs, FakeSleepMs};
}

FakeClock::~FakeClock()
{
    g_tClock = g_realClock;
    g_clock = nullptr;
}

InProcessServer::InProcessServer(const FakeStore::Settings &settings)
    : store(root.Path("/tmp/configer"), TestCamera::DefaultSettings())
{
    store.Set("capability_naudioout", "0");
    store.Set(settings);
    g_tServerGlobals.iNetworkRestart = 0;
    g_tServerGlobals.iReloadPassword = 0;
    if (KelpaFdServer_Initial(&server, SocketPath().c_str()) != 0)
        throw std::runtime_error("KelpaFdServer_Initial failed");
    store.WaitUntilIdle();
    store.ClearRequests();
}

InProcessServer::~InProcessServer()
{
    for (const SessionSlot &slot : server->atSessions)
        UniqueFd(slot.tRequest.iClientSocket).Reset();
    KelpaFdServer_Destroy(server);
}

std::string InProcessServer::Exchange(const TestRequest &request)
{
    ClientSide client = Open(request);
    Round();
    for (int round = 0; BusySlots() > 0 && round < 1000; ++round)
        Round();
    return client.ReadAll();
}

void InProcessServer::SendEventText(std::string_view datagram) const
{
    const UniqueFd socket(UnixSocket_Open(SOCK_DGRAM));
    ASSERT_EQ(UnixSocket_Connect(socket.Get(), root.Path("/var/run/eventmgr/emkelpa").c_str()), 0);
    ASSERT_EQ(send(socket.Get(), datagram.data(), datagram.size(), 0), static_cast<ssize_t>(datagram.size()));
}

void InProcessServer::Rounds(int count)
{
    for (int i = 0; i < count; ++i)
        Round();
}

int InProcessServer::Step()
{
    // Every reading of the clock uses the round's budget up, so a session stops after one state routine.
    const uint32_t now = clock.now;
    clock.step = 1001;
    const int result = Round();
    clock.step = 0;
    clock.now = now;
    for (SessionSlot &slot : server->atSessions) {
        if (slot.tRequest.iClientSocket != SOCKET_NONE && slot.uiStartTick > now)
            slot.uiStartTick = now; // taken in this round
    }
    return result;
}

int InProcessServer::BusySlots() const
{
    int busy = 0;
    for (const SessionSlot &slot : server->atSessions)
        busy += slot.tRequest.iClientSocket != SOCKET_NONE ? 1 : 0;
    return busy;
}

size_t CountOwnDescriptors()
{
    size_t count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}
