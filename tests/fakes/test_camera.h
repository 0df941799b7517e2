#pragma once

#include "tests/fakes/child_process.h"
#include "tests/fakes/client_side.h"
#include "tests/fakes/fake_store.h"
#include "tests/fakes/replies.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/**
 * The built daemon, running in a temporary folder of its own with a fake store beside it:
 *
 *     TestCamera camera;
 *     camera.store.Set("layout_title_text", "Hall");
 *     EXPECT_EQ(camera.Get("/config/camera_info.cgi"), OkReply("name=Hall\r\n"));
 *     EXPECT_EQ(camera.Get("/config/camera_info.cgi", "name=Yard"), OkReply("name=Yard\r\n"));
 *     EXPECT_EQ(camera.store.LastSet(), "layout_title_text=Yard&");
 *
 * At its end it stops the daemon and fails the test unless it exits with status 0 (which a sanitizer's complaint
 * prevents). Other neighbours of the daemon are fakes of their own: give them `camera.root.Path("/tmp/ptzctrl")`.
 *
 * What it does not do: stand between the client and the daemon. There is no web server, no TCP and no parsing of
 * HTTP; the requests go straight to the hand-over socket, the replies are the daemon's own bytes.
 */
class TestCamera
{
  public:
    struct Options {
        FakeStore::Settings settings = {};         ///< added to DefaultSettings()
        std::vector<std::string> environment = {}; ///< "NAME=value" for the daemon
        bool start = true;                         ///< false: the test calls Start itself
    };
    TestCamera() : TestCamera(Options{}) {}
    explicit TestCamera(const Options &options);
    ~TestCamera();

    /** What the daemon needs to start, and a camera's identity. */
    [[nodiscard]] static FakeStore::Settings DefaultSettings();
    /** Where the built daemon is. */
    [[nodiscard]] static std::string Binary();

    /** Starts the daemon and waits until it serves; throws when it does not come to that. */
    void Start();
    /** Stops the daemon; fails the test unless its exit status is 0. The destructor does it too. */
    void Stop();
    /** Ends the daemon as a crash would; Start starts another one in what it left behind. */
    void Kill();

    /** A whole exchange: every byte that the daemon sends until it closes. */
    std::string Get(const std::string &url, const std::string &query = {}) const
    {
        return Exchange({.url = url, .query = query});
    }
    std::string Post(const std::string &url, const std::string &body, const std::string &query = {}) const
    {
        return Exchange({.method = "POST", .url = url, .query = query, .body = body});
    }
    std::string Exchange(const TestRequest &request) const { return Open(request).ReadAll(); }
    /** Hands a request over; the reply is the caller's to read. */
    [[nodiscard]] ClientSide Open(const TestRequest &request) const { return HandOver(SocketPath(), request); }
    [[nodiscard]] ClientSide OpenRaw(std::string_view payload, int descriptors = 1) const
    {
        return HandOverRaw(SocketPath(), payload, descriptors);
    }

    void SendEvents(std::initializer_list<EventRecord> events) const { ::SendEvents(root, events); }
    void SendEventText(std::string_view datagram) const { ::SendEventText(root, datagram); }

    void Signal(int signal) const { m_daemon->Signal(signal); }
    [[nodiscard]] pid_t Pid() const { return m_daemon->Pid(); }
    [[nodiscard]] size_t OpenDescriptors() const { return CountDescriptors(std::to_string(Pid())); }
    /** What the daemon has written to its system log, and its trace on standard output, so far. */
    [[nodiscard]] std::string Log() const { return ReadWholeFile(root.Path("/stderr")); }
    [[nodiscard]] std::string Trace() const { return ReadWholeFile(root.Path("/stdout")); }
    /** Waits until the log or trace holds the text. */
    void WaitForLog(std::string_view text) const;
    void WaitForTrace(std::string_view text) const;

    [[nodiscard]] std::string SocketPath() const { return root.Path("/tmp/kelpa.sock"); }
    [[nodiscard]] std::string PidFile() const { return root.Path("/var/run/kelpa.pid"); }

    TempRoot root;
    FakeStore store;

  private:
    Options m_options;
    std::unique_ptr<ChildProcess> m_daemon;
};

/**
 * Settings of a camera that runs no audio thread. With one, and without a decoder to reach, descriptors come and go
 * for a while: tests that count them take these settings.
 */
inline const FakeStore::Settings NO_AUDIO_OUTPUT = {{"capability_naudioout", "0"}};
