#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace camera
{

/** Keeps one receiver connected to a Signal; dropping it disconnects. It may outlive the Signal. */
using Subscription = std::shared_ptr<void>;

/**
 * Tells its receivers, in the order in which they connected, that something happened. Everything runs on the
 * camera's one thread. A receiver may connect and disconnect receivers, itself included, and emit again; one that
 * is disconnected is not called any more.
 */
template <class... Arguments>
class Signal
{
  public:
    using Receiver = std::function<void(Arguments...)>;

    [[nodiscard]] Subscription connect(Receiver receiver)
    {
        auto connection = std::make_shared<Connection>(std::move(receiver));
        connections_.push_back(connection);
        return {connection.get(), [connection](void *) { connection->connected = false; }};
    }

    void emit(Arguments... arguments)
    {
        std::erase_if(connections_, [](const auto &connection) { return !connection->connected; });
        const auto connections = connections_; // keeps those alive that disconnect while they are called
        for (const auto &connection : connections)
            if (connection->connected)
                connection->receiver(arguments...);
    }

  private:
    struct Connection {
        explicit Connection(Receiver called) : receiver(std::move(called)) {}
        Receiver receiver;
        bool connected = true;
    };

    std::vector<std::shared_ptr<Connection>> connections_;
};

} // namespace camera
