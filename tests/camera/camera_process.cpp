#include "camera_process.h"

#include "platform/unix_socket.h"

#include <arpa/inet.h>
#include <csignal>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace
{

/** The number or word that follows `sign` in a text; throws when it does not hold the sign. */
std::string wordAfter(const std::string &sign, const std::string &text)
{
    const size_t at = text.find(sign);
    if (at == std::string::npos)
        throw std::runtime_error("no \"" + sign + "\" in: " + text);
    const size_t begin = at + sign.size();
    return text.substr(begin, text.find_first_of(", \n", begin) - begin);
}

/** What does not want all that it is sent closes the connection: the rest does not count. */
ClientSide sendOn(FileDescriptor socket, std::string_view bytes)
{
    for (ssize_t sent = 0; !bytes.empty() && sent >= 0;
         bytes.remove_prefix(static_cast<size_t>(std::max<ssize_t>(sent, 0))))
        sent = ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return ClientSide(std::move(socket));
}

} // namespace

CameraProcess::CameraProcess(std::vector<std::string> arguments) : arguments_(std::move(arguments))
{
    start();
}

CameraProcess::~CameraProcess()
{
    if (process_)
        stop(SIGTERM);
}

void CameraProcess::start()
{
    std::vector<std::string> command = {KELPA_CAMERA_PROGRAM, "--root", root(), "--listen", "127.0.0.1:0"};
    command.insert(command.end(), arguments_.begin(), arguments_.end());
    process_.emplace(command, ChildProcess::Options{.piped = true});
    output_ = ClientSide(process_->takeOutput());
    printed_.clear();
    waitForOutput("root ");
    port_ = static_cast<unsigned short>(std::stoi(wordAfter("listening on http://127.0.0.1:", printed_)));
}

void CameraProcess::waitForOutput(const std::string &sign)
{
    if (printed_.find(sign) == std::string::npos)
        printed_ += output_.readUntil(sign);
}

int CameraProcess::stop(int signal)
{
    process_->signal(signal);
    printed_ += output_.readAll();
    const int status = process_->wait();
    process_.reset();
    return status;
}

std::string CameraProcess::adminPassword() const
{
    return wordAfter("with the password ", printed_);
}

ClientSide CameraProcess::send(const std::string &text) const
{
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    checked(connect(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), "connect");
    return sendOn(std::move(socket), text);
}

std::string CameraProcess::get(const std::string &target, const std::string &fields) const
{
    return exchange("GET " + target + " HTTP/1.1\r\nHost: camera\r\n" + fields + "\r\n");
}

std::string CameraProcess::post(const std::string &target) const
{
    return exchange("POST " + target + " HTTP/1.1\r\nHost: camera\r\nContent-Length: 0\r\n\r\n");
}

nlohmann::json CameraProcess::state() const
{
    return nlohmann::json::parse(replyBody(get("/camera/state")));
}

pid_t CameraProcess::daemonPid(pid_t other) const
{
    return waitFor([&](const nlohmann::json &now) {
        return now["daemon"]["ready"] == true && now["daemon"]["pid"] != other;
    })["daemon"]["pid"];
}

ClientSide CameraProcess::say(const std::string &socketPath, std::string_view bytes) const
{
    FileDescriptor socket(UnixSocket_Open(SOCK_STREAM));
    checked(UnixSocket_Connect(socket.get(), (root() + socketPath).c_str()), socketPath);
    return sendOn(std::move(socket), bytes);
}

std::string CameraProcess::askStore(const std::string &request) const
{
    return say("/tmp/configer", request).readAll();
}

void CameraProcess::setInStore(const std::string &pairs) const
{
    EXPECT_NE(askStore("set NameValue 99 0 0\n" + pairs), "");
}

int statusOf(const std::string &reply)
{
    return reply.starts_with("HTTP/1.1 ") ? std::stoi(reply.substr(9)) : 0;
}
