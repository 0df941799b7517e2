#pragma once

#include "daemon/server/server.h"
#include "tests/fakes/client_side.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_store.h"
#include "tests/fakes/replies.h"

/**
 * The daemon's server inside the test program, with a fake store and a clock that only the test moves. For
 * everything that needs time; what needs signals, the command line or the whole program uses TestCamera. One at a
 * time in a process. The camera has no audio output, and so no audio thread, unless the settings say otherwise
 * ("capability_naudioout").
 *
 * What it does not do: run the audio thread, unless "capability_naudioout" is set to 1; run by itself. Nothing is
 * taken or sent until the test asks for a round, so a reply is read with ReadNow (or ReadAll once the connection is
 * closed), not while it is still to be made.
 */
class InProcessServer
{
  public:
    explicit InProcessServer(const FakeStore::Settings &settings = {});
    ~InProcessServer();
    InProcessServer(const InProcessServer &) = delete;
    InProcessServer &operator=(const InProcessServer &) = delete;

    [[nodiscard]] std::string SocketPath() const { return root.Path("/tmp/kelpa.sock"); }
    [[nodiscard]] ClientSide Open(const TestRequest &request) const { return HandOver(SocketPath(), request); }
    /** A whole exchange in as many rounds as it takes. */
    std::string Exchange(const TestRequest &request);
    void SendEvents(std::span<const EventRecord> events) const { ::SendEvents(root, events); }
    void SendEventText(std::string_view datagram) const { ::SendEventText(root, datagram); }

    /** One round of the main loop; gives its result. */
    int Round() { return KelpaFdServer_Process(server); }
    void Rounds(int count)
    {
        for (int i = 0; i < count; ++i)
            Round();
    }
    /** A round in which the only busy session makes exactly one step of its state machine, and no time passes. */
    int Step();
    [[nodiscard]] SessionSlot &Slot(int number) const { return server->atSessions[number]; }
    [[nodiscard]] int BusySlots() const;

    RootEnvironment root;
    FakeStore store;
    FakeClock clock;
    KelpaFdServer *server = nullptr;
};
