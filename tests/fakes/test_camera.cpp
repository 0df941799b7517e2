#include "tests/fakes/test_camera.h"

#include <csignal>
#include <gtest/gtest.h>
#include <stdexcept>

FakeStore::Settings TestCamera::DefaultSettings()
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

std::string TestCamera::Binary()
{
    return KELPA_BINARY;
}

TestCamera::TestCamera(const Options &options)
    : store(root.Path("/tmp/configer"), DefaultSettings()), m_options(options)
{
    store.Set(options.settings);
    if (options.start)
        Start();
}

TestCamera::~TestCamera()
{
    Stop();
}

void TestCamera::Start()
{
    ChildProcess::Options options = {m_options.environment, root.Path("/stdout"), root.Path("/stderr")};
    options.environment.push_back("KELPA_ROOT=" + root.Path());
    options.environment.push_back("KELPA_DEBUG=2");
    m_daemon = std::make_unique<ChildProcess>(std::vector{Binary(), SocketPath(), PidFile()}, options);
    // The last line before the main loop: sockets, pid file and signals are ready.
    const auto ready = [this] { return Log().find("Start KelpaFdServer\n") != std::string::npos; };
    if (!WaitFor([&] { return ready() || m_daemon->Ended(); }) || !ready())
        throw std::runtime_error("the daemon did not start:\n" + Log());
}

void TestCamera::Stop()
{
    if (m_daemon == nullptr)
        return;
    m_daemon->Signal(SIGTERM);
    EXPECT_EQ(m_daemon->Wait(), 0) << "the daemon's exit status; its log:\n" << Log();
    m_daemon.reset();
}

void TestCamera::Kill()
{
    m_daemon->Signal(SIGKILL);
    EXPECT_EQ(m_daemon->Wait(), 128 + SIGKILL);
    m_daemon.reset();
}

void TestCamera::WaitForLog(std::string_view text) const
{
    EXPECT_TRUE(WaitFor([&] { return Log().find(text) != std::string::npos; })) << text << "\nnot in:\n" << Log();
}

void TestCamera::WaitForTrace(std::string_view text) const
{
    EXPECT_TRUE(WaitFor([&] { return Trace().find(text) != std::string::npos; })) << text << "\nnot in:\n"
                                                                                  << Trace();
}
