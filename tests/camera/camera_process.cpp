#include "camera_process.h"

#include "platform/unix_socket.h"

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

CameraProcess::CameraProcess(std::vector<std::string> arguments) : arguments_(std::move(arguments))
{
    start();
}

CameraProcess::~CameraProcess()
{
    if (pid_ > 0)
        stop(SIGTERM);
}

void CameraProcess::start()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
    pipe_.reset(ends[0]);
    const FileDescriptor writeEnd(ends[1]);

    std::vector<std::string> texts = {KELPA_CAMERA_PROGRAM, "--root", root(), "--listen", "127.0.0.1:0"};
    texts.insert(texts.end(), arguments_.begin(), arguments_.end());
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    output_.clear();
    pid_ = fork();
    if (pid_ == 0) {
        dup2(writeEnd.get(), STDOUT_FILENO);
        dup2(writeEnd.get(), STDERR_FILENO);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    const std::string sign = "listening on http://127.0.0.1:";
    waitForOutput("root ");
    port_ = static_cast<unsigned short>(std::stoi(output_.substr(output_.find(sign) + sign.size())));
}

void CameraProcess::waitForOutput(const std::string &sign)
{
    if (output_.find(sign) == std::string::npos)
        output_ += readUntil(pipe_.get(), sign);
    if (output_.find(sign) == std::string::npos)
        throw std::runtime_error("the camera ended: " + output_);
}

int CameraProcess::stop(int signal)
{
    kill(pid_, signal);
    // The camera, and everything that it has started, has closed the pipe when this returns.
    output_ += readUntil(pipe_.get());
    int status = 0;
    waitpid(std::exchange(pid_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string CameraProcess::adminPassword() const
{
    const std::string sign = "with the password ";
    const size_t at = output_.find(sign);
    if (at == std::string::npos)
        throw std::runtime_error("no password in: " + output_);
    return output_.substr(at + sign.size(), output_.find('\n', at) - at - sign.size());
}

FileDescriptor CameraProcess::send(const std::string &text) const
{
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        throw std::runtime_error("connect");
    // A server that has refused the request already takes no more of it.
    for (size_t sent = 0; sent < text.size();) {
        const ssize_t result = ::send(socket.get(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (result < 0)
            break;
        sent += static_cast<size_t>(result);
    }
    return socket;
}

std::string CameraProcess::exchange(const std::string &request) const
{
    return readUntil(send(request).get());
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
    return nlohmann::json::parse(bodyOf(get("/camera/state")));
}

pid_t CameraProcess::daemonPid(pid_t other) const
{
    return waitFor([&](const nlohmann::json &now) {
        return now["daemon"]["ready"] == true && now["daemon"]["pid"] != other;
    })["daemon"]["pid"];
}

FileDescriptor CameraProcess::say(const std::string &socketPath, std::string_view bytes) const
{
    FileDescriptor socket(UnixSocket_Open(SOCK_STREAM));
    EXPECT_EQ(UnixSocket_Connect(socket.get(), (root() + socketPath).c_str()), 0);
    [[maybe_unused]] const ssize_t sent = ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return socket;
}

std::string CameraProcess::askStore(const std::string &request) const
{
    return readUntil(say("/tmp/configer", request).get());
}

void CameraProcess::setInStore(const std::string &pairs) const
{
    EXPECT_NE(askStore("set NameValue 99 0 0\n" + pairs), "");
}

std::string readUntil(int socket, const std::string &sign, std::chrono::milliseconds limit)
{
    std::string text;
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + limit;
    while (sign.empty() || text.find(sign) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd wait = {socket, POLLIN, 0};
        if (left <= 0 || poll(&wait, 1, static_cast<int>(left)) == 0)
            throw std::runtime_error("waited in vain for \"" + sign + "\", read: " + text);
        char buffer[4096];
        const ssize_t got = read(socket, buffer, sizeof buffer);
        if (got <= 0)
            break;
        text.append(buffer, static_cast<size_t>(got));
    }
    return text;
}

int statusOf(const std::string &reply)
{
    return reply.starts_with("HTTP/1.1 ") ? std::stoi(reply.substr(9)) : 0;
}

std::string bodyOf(const std::string &reply)
{
    const size_t at = reply.find("\r\n\r\n");
    return at == std::string::npos ? "" : reply.substr(at + 4);
}
