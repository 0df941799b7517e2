#pragma once

#include "server/server.h"
#include "tests/fakes/client_side.h"
#include "tests/fakes/fake_store.h"
#include "tests/fakes/replies.h"
#include "tests/fakes/root_environment.h"

#include <cstdint>
#include <vector>

/** The daemon's clock in the test's hand. One at a time; the real clock comes back at the end. */
class FakeClock
{
  public:
    FakeClock();
    ~FakeClock();
    FakeClock(const FakeClock &) = delete;
    FakeClock &operator=(const FakeClock &) = delete;

    uint32_t now = 1000000;       ///< milliseconds
    uint32_t step = 0;            ///< every reading moves the clock on by this much first
    std::vector<uint32_t> sleeps; ///< what was asked for; a sleep moves the clock on, nobody waits
};

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
    void SendEventText(std::string_view datagram) const;

    /** One round of the main loop; gives its result. */
    int Round() { return KelpaFdServer_Process(server); }
    void Rounds(int count);
    /** A round in which the only busy session makes exactly one step of its state machine, and no time passes. */
    int Step();
    [[nodiscard]] SessionSlot &Slot(int number) const { return server->atSessions[number]; }
    [[nodiscard]] int BusySlots() const;

    RootEnvironment root;
    FakeStore store;
    FakeClock clock;
    KelpaFdServer *server = nullptr;
};

/** Open descriptors of this process. */
[[nodiscard]] size_t CountOwnDescriptors();
