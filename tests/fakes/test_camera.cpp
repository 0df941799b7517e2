#include "tests/fakes/test_camera.h"

#include "platform/unix_socket.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/socket.h>

namespace
{

constexpr char EVENT_ENDPOINT[] = "/var/run/eventmgr/emkelpa";

FakeStore::Settings Merge(FakeStore::Settings first, const FakeStore::Settings &second)
{
    for (const auto &[name, value] : second)
        first[name] = value;
    return first;
}

} // namespace

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
    : store(root.Path("/tmp/configer"), Merge(DefaultSettings(), options.settings)), m_options(options)
{
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

std::string TestCamera::Get(const std::string &url, const std::string &query) const
{
    return Exchange({.url = url, .query = query});
}

std::string TestCamera::Post(const std::string &url, const std::string &body, const std::string &query) const
{
    return Exchange({.method = "POST", .url = url, .query = query, .body = body});
}

ClientSide TestCamera::Open(const TestRequest &request) const
{
    return HandOver(SocketPath(), request);
}

ClientSide TestCamera::OpenRaw(std::string_view payload, int descriptors) const
{
    return HandOverRaw(SocketPath(), payload, descriptors);
}

void TestCamera::SendEvents(std::initializer_list<EventRecord> events) const
{
    char datagram[4096];
    const size_t length = Message_ComposeEvents({events.begin(), events.size()}, datagram);
    SendEventText({datagram, length});
}

void TestCamera::SendEventText(std::string_view datagram) const
{
    const UniqueFd socket(UnixSocket_Open(SOCK_DGRAM));
    ASSERT_EQ(UnixSocket_Connect(socket.Get(), root.Path(EVENT_ENDPOINT).c_str()), 0);
    ASSERT_EQ(send(socket.Get(), datagram.data(), datagram.size(), 0), static_cast<ssize_t>(datagram.size()));
}

size_t TestCamera::OpenDescriptors() const
{
    size_t count = 0;
    for ([[maybe_unused]] const auto &entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(Pid()) + "/fd"))
        ++count;
    return count;
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
