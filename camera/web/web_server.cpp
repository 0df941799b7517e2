#include "camera/web/web_server.h"

#include "camera/base/root_folder.h"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <variant>

namespace camera
{

namespace asio = boost::asio;

namespace
{

/** How long what was sent may stay without acknowledgement, or a window closed; tcp(7). */
constexpr unsigned int USER_TIMEOUT_MS = 30000;

/** A client has this long for its head, again for its body, and again to take the reply. */
constexpr std::chrono::seconds CLIENT_TIME(10);
/** More connections than that are refused: each may cost a descriptor here and one on its way to the daemon. */
constexpr int MAX_CLIENTS = 400;
/** So many are told so at a time; beyond that they are closed without a word. */
constexpr int MAX_REFUSALS = 50;

constexpr std::string_view DAEMON_PREFIXES[] = {"/common/", "/config/", "/video/", "/dev/", "/cgi/admin/"};
/** The body of this URL is a stream, which the daemon reads itself. */
constexpr std::string_view STREAM_URL = "/dev/speaker.cgi";

bool isForDaemon(std::string_view path)
{
    return std::ranges::any_of(DAEMON_PREFIXES, [&](std::string_view prefix) { return path.starts_with(prefix); });
}

/** The address of a socket's other end as text, without the port. */
std::string peerAddress(int socket)
{
    asio::ip::tcp::endpoint endpoint;
    auto size = static_cast<socklen_t>(endpoint.capacity());
    if (getpeername(socket, endpoint.data(), &size) != 0)
        return {};
    endpoint.resize(size);
    return endpoint.address().to_string();
}

asio::awaitable<void> reply(Client &client, HttpResponse response, bool withBody = true)
{
    const std::string text = serialise(response, withBody);
    client.setTimeLimit(CLIENT_TIME);
    const bool sent = co_await client.send(text);
    if (sent)
        co_await client.finish();
}

/** Nothing when the client did not finish its head: it is dropped without a reply. */
using HeadResult = std::optional<std::variant<HttpHead, HttpRefusal>>;

/** Takes a request's head off the connection, and not a byte more. */
asio::awaitable<HeadResult> receiveHead(Client &client)
{
    std::string text;
    char buffer[HTTP_MAX_HEAD];
    while (co_await client.readable()) {
        const ssize_t seen = client.receiveNow({buffer, HTTP_MAX_HEAD - text.size()}, MSG_PEEK);
        if (seen == 0)
            break;
        if (seen < 0)
            continue;
        const size_t before = text.size();
        text.append(buffer, static_cast<size_t>(seen));
        const size_t end = findHeadEnd(text, before);
        if (end > 0)
            text.resize(end);
        if (client.receiveNow({buffer, text.size() - before}) <= 0)
            break;
        if (end > 0)
            co_return parseHead(text);
        if (text.size() == HTTP_MAX_HEAD)
            co_return HttpRefusal{431};
    }
    co_return std::nullopt;
}

/** Takes that part of the body that is handed over with the request; nothing when it does not come. */
asio::awaitable<std::optional<std::string>> receiveBody(Client &client, const HttpHead &head)
{
    client.setTimeLimit(CLIENT_TIME);
    bool alive = true;
    if (head.expectsContinue)
        alive = co_await client.send("HTTP/1.1 100 Continue\r\n\r\n");
    std::string body;
    if (alive && head.path != STREAM_URL) {
        body.resize(std::min<std::uint64_t>(head.contentLength, HTTP_MAX_BODY));
        alive = co_await client.receiveAll(body);
    }
    if (!alive)
        co_return std::nullopt;
    co_return body;
}

} // namespace

WebServer::WebServer(Surroundings &around, FileDescriptor listening, std::unique_ptr<Authenticator> authenticator)
    : around_(around), authenticator_(std::move(authenticator)),
      handOver_(around.io, around.root.path(HAND_OVER_SOCKET))
{
    open(std::move(listening));
}

void WebServer::open(FileDescriptor listening)
{
    listener_.emplace(around_.io, std::move(listening),
                      [this](FileDescriptor socket) { accept(std::move(socket)); });
}

void WebServer::accept(FileDescriptor socket)
{
    if (*clients_ == MAX_CLIENTS + MAX_REFUSALS)
        return;
    const bool refused = *clients_ >= MAX_CLIENTS;
    ++*clients_;
    std::shared_ptr<void> place(clients_.get(), [clients = clients_](void *) { --*clients; });
    std::string peer = peerAddress(socket.get());
    // Whoever gets the connection in the end, it ends when its client is dead or frozen.
    setsockopt(socket.get(), IPPROTO_TCP, TCP_USER_TIMEOUT, &USER_TIMEOUT_MS, sizeof USER_TIMEOUT_MS);
    Client client(around_.io, std::move(socket));
    asio::co_spawn(around_.io,
                   refused ? refuse(std::move(client), std::move(place))
                           : serve(std::move(client), std::move(peer), std::move(place)),
                   asio::detached);
}

asio::awaitable<void> WebServer::refuse(Client client, [[maybe_unused]] std::shared_ptr<void> place)
{
    HttpResponse response = plainResponse(503);
    co_await reply(client, std::move(response));
}

asio::awaitable<void> WebServer::serve(Client client, std::string peer,
                                       [[maybe_unused]] std::shared_ptr<void> place)
{
    client.setTimeLimit(CLIENT_TIME);
    const HeadResult result = co_await receiveHead(client);
    if (!result)
        co_return;
    if (const auto *refusal = std::get_if<HttpRefusal>(&*result)) {
        HttpResponse response = plainResponse(refusal->status);
        co_await reply(client, std::move(response));
        co_return;
    }
    const auto &head = std::get<HttpHead>(*result);
    if (authenticator_) {
        std::optional<HttpResponse> refusal = co_await authenticator_->check(head, peer);
        if (refusal) {
            co_await reply(client, std::move(*refusal), head.method != "HEAD");
            co_return;
        }
    }
    const std::optional<std::string> body = co_await receiveBody(client, head);
    if (!body)
        co_return;
    if (isForDaemon(head.path))
        co_await handOver(client, head, *body);
    else
        co_await answer(client, head, *body);
}

asio::awaitable<void> WebServer::handOver(Client &client, const HttpHead &head, const std::string &body)
{
    // Nothing of this process may watch a socket that the daemon goes on with.
    FileDescriptor socket = client.release();
    const bool delivered = co_await handOver_.deliver(head, body, socket);
    if (delivered)
        co_return;
    Client refused(around_.io, std::move(socket));
    HttpResponse response = plainResponse(503);
    co_await reply(refused, std::move(response), head.method != "HEAD");
}

asio::awaitable<HttpResponse> WebServer::routed(OwnRequest request)
{
    struct Pending {
        asio::steady_timer done; ///< cancelled when the reply is there
        std::optional<HttpResponse> response = {};
    };
    const auto pending = std::make_shared<Pending>(Pending{asio::steady_timer(around_.io, CLIENT_TIME)});
    around_.router.answer(std::move(request), [pending](HttpResponse response) {
        pending->response = std::move(response);
        pending->done.cancel();
    });
    if (!pending->response) {
        boost::system::error_code ignored;
        co_await pending->done.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    co_return pending->response ? std::move(*pending->response) : plainResponse(503);
}

asio::awaitable<void> WebServer::answer(Client &client, const HttpHead &head, const std::string &body)
{
    const bool withBody = head.method != "HEAD";
    if (head.contentLength > body.size()) {
        HttpResponse refusal = plainResponse(413);
        co_await reply(client, std::move(refusal), withBody);
        co_return;
    }
    OwnRequest request = {
        .method = head.method, .path = head.path, .query = head.query.empty() ? body : head.query, .tail = {}};
    HttpResponse response = co_await routed(std::move(request));
    co_await reply(client, std::move(response), withBody);
}

} // namespace camera
