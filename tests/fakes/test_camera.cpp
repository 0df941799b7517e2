#include "tests/fakes/test_camera.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <stdexcept>

FakeStore::Settings TestCamera::defaultSettings()
{
    return {
        {"audioout_c0_speaker_enable", "1"},
        {"capability_naudioout", "1"},
        {"capability_ndi", "2"},
        {"capability_ndo", "2"},
        {"capability_nmotion", "3"},
        {"capability_ptzenabled", "1"},
        {"capability_supportvideoout", "no"},
        {"layout_title_text", "Entrance"},
        {"network_ipaddress", "192.168.0.20"},
        {"network_router", "192.168.0.1"},
        {"network_subnet", "255.255.255.0"},
        {"system_hostname", "camera"},
        {"system_info_extendedmodelname", "KX-2202"},
        {"system_info_firmwareversion", "1.02.07"},
        {"system_info_fwversion", "1.02.07"},
        {"system_info_modelname", "KX"},
        {"system_info_serialnumber", "0002D1A2B3C4"},
        {"videoin_c0_text", "Label"},
    };
}

std::string TestCamera::binary()
{
    const char *other = getenv("KELPA_BINARY"); // for example a script that runs another machine's daemon
    return other != nullptr ? other : KELPA_BINARY;
}

TestCamera::TestCamera(const Options &options)
    : store(root.path("/tmp/configer"), defaultSettings()), options_(options)
{
    store.set(options.settings);
    if (options.start)
        start();
}

TestCamera::~TestCamera()
{
    stop();
}

void TestCamera::start()
{
    ChildProcess::Options options = {options_.environment, root.path("/stdout"), root.path("/stderr")};
    options.environment.push_back("KELPA_ROOT=" + root.path());
    options.environment.push_back("KELPA_DEBUG=2");
    daemon_ = std::make_unique<ChildProcess>(std::vector{binary(), socketPath(), pidFile()}, options);
    // The last line before the main loop: sockets, pid file and signals are ready.
    const auto ready = [this] { return log().find("Start KelpaFdServer\n") != std::string::npos; };
    if (!waitFor([&] { return ready() || daemon_->ended(); }) || !ready())
        throw std::runtime_error("the daemon did not start:\n" + log());
}

void TestCamera::stop()
{
    if (daemon_ == nullptr)
        return;
    daemon_->signal(SIGTERM);
    EXPECT_EQ(daemon_->wait(), 0) << "the daemon's exit status; its log:\n" << log();
    daemon_.reset();
}

void TestCamera::kill()
{
    daemon_->signal(SIGKILL);
    EXPECT_EQ(daemon_->wait(), 128 + SIGKILL);
    daemon_.reset();
}

void TestCamera::waitForLog(std::string_view text) const
{
    EXPECT_TRUE(waitFor([&] { return log().find(text) != std::string::npos; })) << text << "\nnot in:\n" << log();
}

void TestCamera::waitForTrace(std::string_view text) const
{
    EXPECT_TRUE(waitFor([&] { return trace().find(text) != std::string::npos; })) << text << "\nnot in:\n"
                                                                                  << trace();
}
