#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace talk
{

/** Where the camera is. */
struct Address {
    std::string host;
    std::string port;
};

/** Reads "ADDRESS:PORT", "[ADDRESS]:PORT" or either without a port, which is 8080 then. Throws on anything else. */
[[nodiscard]] Address parseAddress(std::string_view text);

/** "ADDRESS:PORT", as in a Host header. */
[[nodiscard]] std::string toText(const Address &address);

/**
 * A TCP connection. What takes longer than ten seconds fails; failures are thrown as std::runtime_error that can be
 * shown to the user.
 */
class Connection
{
  public:
    explicit Connection(const Address &address);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    /** Sends everything; false when the other end has closed the connection. */
    [[nodiscard]] bool send(std::string_view bytes);
    /** Says that nothing more will be sent. */
    void endSending();
    /** Waits until the deadline or until something has come (true), be it bytes or the connection's end. */
    [[nodiscard]] bool waitForInput(std::chrono::steady_clock::time_point deadline) const;
    /** Everything that comes until the other end closes. */
    std::string receiveAll();

  private:
    int socket_ = -1;
};

} // namespace talk
