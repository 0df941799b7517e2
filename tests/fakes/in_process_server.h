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
 * taken or sent until the test asks for a round, so a reply is read with readNow() (or readAll() once the
 * connection is closed), not while it is still to be made.
 */
class InProcessServer
{
  public:
    explicit InProcessServer(const FakeStore::Settings &settings = {});
    ~InProcessServer();
    InProcessServer(const InProcessServer &) = delete;
    InProcessServer &operator=(const InProcessServer &) = delete;

    [[nodiscard]] std::string socketPath() const { return root.path("/tmp/kelpa.sock"); }
    [[nodiscard]] ClientSide open(const TestRequest &request) const { return handOver(socketPath(), request); }
    /** A whole exchange in as many rounds as it takes. */
    std::string exchange(const TestRequest &request);
    void sendEvents(std::span<const EventRecord> events) const { ::sendEvents(root, events); }
    void sendEventText(std::string_view datagram) const { ::sendEventText(root, datagram); }

    /** One round of the main loop; gives its result. */
    int round() { return KelpaFdServer_Process(server); }
    void rounds(int count)
    {
        for (int i = 0; i < count; ++i)
            round();
    }
    /** A round in which the only busy session makes exactly one step of its state machine, and no time passes. */
    int step();
    [[nodiscard]] SessionSlot &slot(int number) const { return server->atSessions[number]; }
    [[nodiscard]] int busySlots() const;

    RootEnvironment root;
    FakeStore store;
    FakeClock clock;
    KelpaFdServer *server = nullptr;
};
