#include "camera/base/client.h"
#include "camera/base/listener.h"
#include "camera/base/root_folder.h"
#include "camera/neighbours/store/store_protocol.h"
#include "camera/surroundings/neighbours.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <iostream>
#include <optional>
#include <unistd.h>

/*
 * The configuration store's socket: one request and one answer per connection.
 */

namespace camera
{

namespace asio = boost::asio;

namespace
{

/** A client that has not sent its request by then is left. */
constexpr std::chrono::seconds REQUEST_TIME(10);

class StoreServer : public Neighbour
{
  public:
    explicit StoreServer(Surroundings &around)
        : around_(around), socketPath_(around.root.path(STORE_SOCKET)),
          listener_(around.io, listenAtPath(socketPath_), [this](FileDescriptor socket) {
              asio::co_spawn(around_.io, serve(Client(around_.io, std::move(socket))), asio::detached);
          })
    {
    }

    ~StoreServer() override { unlink(socketPath_.c_str()); }

  private:
    asio::awaitable<void> serve(Client client)
    {
        client.setTimeLimit(REQUEST_TIME);
        const StoreRequest request = co_await receive(client);
        const std::optional<std::string> answer = carryOut(request);
        // A change that was not stored is not answered: the daemon takes the closed connection for a failure.
        if (answer)
            co_await client.send(*answer);
    }

    /**
     * A request has no end mark. It is what is there once its header line is complete: the daemon sends all of it
     * in one write, which a stream socket of this machine delivers as a whole.
     */
    static asio::awaitable<StoreRequest> receive(Client &client)
    {
        std::string received;
        char buffer[4096];
        while (co_await client.readable()) {
            ssize_t got = 0;
            while (received.size() <= STORE_MAX_REQUEST && (got = client.receiveNow(buffer)) > 0)
                received.append(buffer, static_cast<size_t>(got));
            if (received.size() > STORE_MAX_REQUEST)
                break;
            StoreRequest request = parseStoreRequest(received);
            if (!std::holds_alternative<StoreIncomplete>(request))
                co_return request;
            if (got == 0)
                break;
        }
        co_return StoreMalformed{};
    }

    std::optional<std::string> carryOut(const StoreRequest &request)
    {
        if (const auto *get = std::get_if<StoreGet>(&request))
            return composeStoreAnswer(around_.store, *get);
        const auto *set = std::get_if<StoreSet>(&request);
        if (set == nullptr)
            return std::nullopt;
        try {
            around_.store.set(set->settings);
            return composeStoreAnswer(*set);
        } catch (const std::exception &error) { // of the store, or of a neighbour that watches it
            std::cerr << "kelpa-camera: " << error.what() << "\n";
            return std::nullopt;
        }
    }

    Surroundings &around_;
    std::string socketPath_;
    Listener listener_;
};

} // namespace

std::unique_ptr<Neighbour> makeStoreServer(Surroundings &around)
{
    return std::make_unique<StoreServer>(around);
}

} // namespace camera
