/*
 * The floor under the daemon's cost: a server that makes the system calls of one kind of request, in the daemon's
 * order and with its sizes, and nothing else. It parses nothing and sends a fixed reply; whatever the daemon needs
 * on top of it is the daemon's own work.
 *
 *     kelpa_bench_floor KIND HANDOVER_SOCKET EVENT_SOCKET STORE_SOCKET
 */

#include "bench/kinds.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/times.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

char g_acDatagram[16385];
char g_acStoreReply[1024];

sockaddr_un addressOf(const char *path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    return address;
}

int bindAt(const char *path)
{
    const sockaddr_un address = addressOf(path);
    const int endpoint = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    return bind(endpoint, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? endpoint : -1;
}

/** Receives one datagram; returns the descriptor that came with it, or -1. */
int receive(int endpoint)
{
    iovec piece = {g_acDatagram, sizeof g_acDatagram - 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * 16)];
    msghdr message = {};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(endpoint, &message, MSG_CMSG_CLOEXEC) < 0 || CMSG_FIRSTHDR(&message) == nullptr)
        return -1;
    int passed = -1;
    memcpy(&passed, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof passed);
    return passed;
}

bool callStore(const sockaddr_un &address, std::string_view request)
{
    const int store = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    pollfd answer = {store, POLLIN, 0};
    const bool answered = connect(store, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                          write(store, request.data(), request.size()) > 0 && poll(&answer, 1, -1) > 0 &&
                          read(store, g_acStoreReply, sizeof g_acStoreReply - 1) > 0;
    close(store);
    return answered;
}

bool serve(const Kind &kind, int client, const sockaddr_un &store)
{
    int on = 1;
    ioctl(client, FIONBIO, &on);
    for (int i = 0; i < kind.clockReads; ++i) {
        tms unused;
        times(&unused);
    }
    const bool ready = kind.storeRequest.empty() || callStore(store, kind.storeRequest);
    const bool sent = ready && send(client, kind.reply.data(), kind.reply.size(), MSG_NOSIGNAL) > 0;
    close(client);
    return sent;
}

} // namespace

int main(int argc, char **argv)
{
    const auto *kind = std::ranges::find_if(
        KINDS, [&](const Kind &k) { return argc == 5 && k.name == std::string_view(argv[1]); });
    if (kind == KINDS.end()) {
        fputs("Usage: kelpa_bench_floor KIND HANDOVER_SOCKET EVENT_SOCKET STORE_SOCKET\n", stderr);
        return 1;
    }
    const int handOver = bindAt(argv[2]);
    const int event = bindAt(argv[3]);
    const sockaddr_un store = addressOf(argv[4]);
    if (handOver < 0 || event < 0) {
        perror("kelpa_bench_floor: bind");
        return 1;
    }
    for (;;) {
        pollfd endpoints[] = {{handOver, POLLIN, 0}, {event, POLLIN, 0}};
        if (poll(endpoints, 2, -1) <= 0)
            continue;
        const int client = receive(handOver);
        if (client < 0 || !serve(*kind, client, store)) {
            perror("kelpa_bench_floor: a request failed");
            return 1;
        }
    }
}
