#pragma once

#include "camera/base/awaitable.h"
#include "camera/base/client.h"
#include "camera/base/listener.h"
#include "camera/surroundings/neighbour.h"
#include "camera/web/authentication.h"
#include "camera/web/hand_over.h"

#include <memory>
#include <optional>
#include <string>

namespace camera
{

/**
 * The camera's web server, HTTP/1.1 with one request per connection. The daemon's URLs are handed over to it with
 * the client's socket; the rest is answered by the router's routes.
 */
class WebServer
{
  public:
    /** Listens on the descriptor; without an authenticator anybody may do anything. */
    WebServer(Surroundings &around, FileDescriptor listening, std::unique_ptr<Authenticator> authenticator);

    /** Listens no more: connections are refused. Those that are open go on. */
    void close() { listener_.reset(); }
    /** Listens again, on another descriptor. */
    void open(FileDescriptor listening);

  private:
    void accept(FileDescriptor socket);
    boost::asio::awaitable<void> serve(Client client, std::string peer, std::shared_ptr<void> place);
    boost::asio::awaitable<void> refuse(Client client, std::shared_ptr<void> place);
    boost::asio::awaitable<void> handOver(Client &client, const HttpHead &head, const std::string &body);
    boost::asio::awaitable<HttpResponse> routed(OwnRequest request);
    boost::asio::awaitable<void> answer(Client &client, const HttpHead &head, const std::string &body);

    Surroundings &around_;
    std::unique_ptr<Authenticator> authenticator_;
    HandOver handOver_;
    std::shared_ptr<int> clients_ = std::make_shared<int>(0);
    std::optional<Listener> listener_;
};

} // namespace camera
