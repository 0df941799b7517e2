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
 *     camera.store.set("layout_title_text", "Hall");
 *     EXPECT_EQ(camera.get("/config/camera_info.cgi"), okReply("name=Hall\r\n"));
 *     EXPECT_EQ(camera.get("/config/camera_info.cgi", "name=Yard"), okReply("name=Yard\r\n"));
 *     EXPECT_EQ(camera.store.lastSet(), "layout_title_text=Yard&");
 *
 * At its end it stops the daemon and fails the test unless it exits with status 0 (which a sanitizer's complaint
 * prevents). Other neighbours of the daemon are fakes of their own: give them `camera.root.path("/tmp/ptzctrl")`.
 *
 * What it does not do: stand between the client and the daemon. There is no web server, no TCP and no parsing of
 * HTTP; the requests go straight to the hand-over socket, the replies are the daemon's own bytes.
 */
class TestCamera
{
  public:
    struct Options {
        FakeStore::Settings settings = {};         ///< added to defaultSettings()
        std::vector<std::string> environment = {}; ///< "NAME=value" for the daemon
        bool start = true;                         ///< false: the test calls start() itself
    };
    TestCamera() : TestCamera(Options{}) {}
    explicit TestCamera(const Options &options);
    ~TestCamera();

    /** What the daemon needs to start, and a camera's identity. */
    [[nodiscard]] static FakeStore::Settings defaultSettings();
    /** Where the built daemon is. */
    [[nodiscard]] static std::string binary();

    /** Starts the daemon and waits until it serves; throws when it does not come to that. */
    void start();
    /** Stops the daemon; fails the test unless its exit status is 0. The destructor does it too. */
    void stop();
    /** Ends the daemon as a crash would; start() starts another one in what it left behind. */
    void kill();

    /** A whole exchange: every byte that the daemon sends until it closes. */
    std::string get(const std::string &url, const std::string &query = {}) const
    {
        return exchange({.url = url, .query = query});
    }
    std::string post(const std::string &url, const std::string &body, const std::string &query = {}) const
    {
        return exchange({.method = "POST", .url = url, .query = query, .body = body});
    }
    std::string exchange(const TestRequest &request) const { return open(request).readAll(); }
    /** Hands a request over; the reply is the caller's to read. */
    [[nodiscard]] ClientSide open(const TestRequest &request) const { return handOver(socketPath(), request); }
    [[nodiscard]] ClientSide openRaw(std::string_view payload, int descriptors = 1) const
    {
        return handOverRaw(socketPath(), payload, descriptors);
    }

    void sendEvents(std::initializer_list<EventRecord> events) const { ::sendEvents(root, events); }
    void sendEventText(std::string_view datagram) const { ::sendEventText(root, datagram); }

    void signal(int signal) const { daemon_->signal(signal); }
    [[nodiscard]] pid_t pid() const { return daemon_->pid(); }
    [[nodiscard]] size_t openDescriptors() const { return countDescriptors(std::to_string(pid())); }
    /** What the daemon has written to its system log, and its trace on standard output, so far. */
    [[nodiscard]] std::string log() const { return readWholeFile(root.path("/stderr")); }
    [[nodiscard]] std::string trace() const { return readWholeFile(root.path("/stdout")); }
    /** Waits until the log or trace holds the text. */
    void waitForLog(std::string_view text) const;
    void waitForTrace(std::string_view text) const;

    [[nodiscard]] std::string socketPath() const { return root.path("/tmp/kelpa.sock"); }
    [[nodiscard]] std::string pidFile() const { return root.path("/var/run/kelpa.pid"); }

    TempRoot root;
    FakeStore store;

  private:
    Options options_;
    std::unique_ptr<ChildProcess> daemon_;
};

/**
 * Settings of a camera that runs no audio thread. With one, and without a decoder to reach, descriptors come and go
 * for a while: tests that count them take these settings.
 */
inline const FakeStore::Settings NO_AUDIO_OUTPUT = {{"capability_naudioout", "0"}};
