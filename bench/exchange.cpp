#include "bench/exchange.h"

#include "platform/fdcgi.h"
#include "platform/unix_socket.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

using std::chrono::steady_clock;

namespace
{

constexpr std::string_view STREAM_HEADER =
    "HTTP/1.1 200 OK\r\nCache-Control: no-cache, no-store, must-revalidate\r\nPragma: no-cache\r\n"
    "Content-Type: text/plain\r\n\r\n";
/** Longer than anything that is measured here takes; whoever waits longer waits in vain. */
constexpr std::chrono::milliseconds PATIENCE(5000);

void compare(std::string_view expected, std::string_view got)
{
    if (expected != got)
        throw std::runtime_error("expected:\n" + std::string(expected) + "\ngot:\n" + std::string(got));
}

void waitForInput(std::span<pollfd> polled)
{
    if (checked(poll(polled.data(), polled.size(), static_cast<int>(PATIENCE.count())), "poll") == 0)
        throw std::runtime_error("nothing came in " + std::to_string(PATIENCE.count()) + " ms");
}

Client pass(int handOver, const FDCGI_Request &request, bool full)
{
    int ends[2];
    checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
    Client client{.socket = FileDescriptor(ends[0]), .begin = {}, .received = {}};
    const FileDescriptor passed(ends[1]);
    while (full && send(passed.get(), "full", 4, MSG_DONTWAIT | MSG_NOSIGNAL) > 0)
        continue;
    client.begin = steady_clock::now();
    checked(FDCGI_send(handOver, request, passed.get(), 0), "hand-over");
    return client;
}

/** Takes what has come for a client; false at the end of the reply. */
bool receive(Client &client)
{
    std::array<char, 16384> buffer;
    const ssize_t got = recv(client.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (got < 0 && errno == EAGAIN)
        return true;
    checked(static_cast<int>(got), "reply");
    client.received.append(buffer.data(), static_cast<size_t>(got));
    return got > 0;
}

/** The same, waiting for it. */
bool receiveNext(Client &client)
{
    pollfd polled = {client.socket.get(), POLLIN, 0};
    waitForInput({&polled, 1});
    return receive(client);
}

} // namespace

Client handOverRequest(int handOver, const FDCGI_Request &request)
{
    return pass(handOver, request, false);
}

Client handOverFull(int handOver, const FDCGI_Request &request)
{
    return pass(handOver, request, true);
}

Exchange::Exchange(const std::filesystem::path &root)
    : store_(checked(UnixSocket_Open(SOCK_STREAM | SOCK_NONBLOCK), "store"))
{
    checked(UnixSocket_Bind(store_.get(), (root / "tmp/configer").c_str()), "store");
    checked(listen(store_.get(), 16), "store");
}

void Exchange::serveStart()
{
    for (const StartCall &call : START_CALLS) {
        pollfd polled = {store_.get(), POLLIN, 0};
        waitForInput({&polled, 1});
        serveStore(call.request, call.reply);
    }
}

void Exchange::serveStore(std::string_view request, std::string_view reply)
{
    const FileDescriptor caller(checked(accept4(store_.get(), nullptr, nullptr, SOCK_CLOEXEC), "store: accept"));
    std::array<char, 4096> buffer;
    const int got = checked(static_cast<int>(read(caller.get(), buffer.data(), buffer.size())), "store: read");
    compare(request, {buffer.data(), static_cast<size_t>(got)});
    checked(static_cast<int>(write(caller.get(), reply.data(), reply.size())), "store: write");
}

std::vector<std::chrono::nanoseconds> Exchange::run(const Kind &kind, int handOver, int count, int inFlight)
{
    const FDCGI_Request request{.method = kind.method, .url = kind.url, .query = kind.query, .body = {}};
    std::vector<std::chrono::nanoseconds> latencies;
    std::vector<Client> clients;
    std::vector<pollfd> polled;
    int sent = 0;
    while (latencies.size() < static_cast<size_t>(count)) {
        for (; sent < count && clients.size() < static_cast<size_t>(inFlight); ++sent)
            clients.push_back(handOverRequest(handOver, request));
        polled.assign(1, {store_.get(), POLLIN, 0});
        for (const Client &client : clients)
            polled.push_back({client.socket.get(), POLLIN, 0});
        waitForInput(polled);
        if (polled[0].revents != 0)
            serveStore(kind.storeRequest, kind.storeReply);
        for (size_t i = clients.size(); i-- > 0;) {
            if (polled[i + 1].revents == 0 || receive(clients[i]))
                continue;
            latencies.push_back(steady_clock::now() - clients[i].begin);
            compare(kind.reply, clients[i].received);
            clients.erase(clients.begin() + static_cast<ptrdiff_t>(i));
        }
    }
    return latencies;
}

std::vector<Client> Exchange::openStreams(int handOver, int count)
{
    std::vector<Client> streams;
    for (int i = 0; i < count; ++i) {
        streams.push_back(handOverRequest(
            handOver, {.method = "GET", .url = "/config/notify_stream.cgi", .query = {}, .body = {}}));
        Client &stream = streams.back();
        while (stream.received.size() < STREAM_HEADER.size() && receiveNext(stream)) {
        }
        compare(STREAM_HEADER, stream.received);
    }
    return streams;
}

void Exchange::closeStreams(std::vector<Client> &streams)
{
    for (Client &stream : streams) {
        checked(shutdown(stream.socket.get(), SHUT_WR), "shutdown");
        while (receiveNext(stream)) {
        }
    }
    streams.clear();
}

FileDescriptor connectTo(const std::filesystem::path &path)
{
    const auto end = steady_clock::now() + PATIENCE;
    for (;;) {
        const int socket = FDCGI_client_socket(path.c_str());
        if (socket >= 0)
            return FileDescriptor(socket);
        if (steady_clock::now() > end)
            checked(socket, path.c_str());
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
