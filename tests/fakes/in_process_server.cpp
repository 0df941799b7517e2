#include "tests/fakes/in_process_server.h"

#include "daemon/base/wait.h"
#include "daemon/session/globals.h"
#include "tests/fakes/test_camera.h"

#include <stdexcept>

InProcessServer::InProcessServer(const FakeStore::Settings &settings)
    : store(root.path("/tmp/configer"), TestCamera::defaultSettings())
{
    store.set("capability_naudioout", "0");
    store.set(settings);
    g_tServerGlobals.iNetworkRestart = 0;
    g_tServerGlobals.iReloadPassword = 0;
    Wait_SetFair(false);
    if (KelpaFdServer_Initial(&server, socketPath().c_str()) != 0)
        throw std::runtime_error("KelpaFdServer_Initial failed");
    store.waitUntilIdle();
    store.clearRequests();
}

InProcessServer::~InProcessServer()
{
    for (const SessionSlot &slot : server->atSessions)
        FileDescriptor(slot.tRequest.iClientSocket).reset();
    KelpaFdServer_Destroy(server);
}

std::string InProcessServer::exchange(const TestRequest &request)
{
    ClientSide client = open(request);
    round();
    for (int i = 0; busySlots() > 0 && i < 1000; ++i)
        round();
    return client.readAll();
}

int InProcessServer::step()
{
    // Every reading of the clock uses the round's budget up, so a session stops after one state routine.
    const uint32_t now = clock.now;
    clock.step = 1001;
    const int result = round();
    clock.step = 0;
    clock.now = now;
    for (SessionSlot &slot : server->atSessions) {
        if (slot.tRequest.iClientSocket != SOCKET_NONE && slot.uiStartTick > now)
            slot.uiStartTick = now; // taken in this round
    }
    return result;
}

int InProcessServer::busySlots() const
{
    int busy = 0;
    for (const SessionSlot &slot : server->atSessions)
        busy += slot.tRequest.iClientSocket != SOCKET_NONE ? 1 : 0;
    return busy;
}
