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

/** Reads "ADDRESS:PORT", "[ADDRESS]:PORT" or either without a port, which is 80 then. Throws on anything else. */
[[nodiscard]] Address ParseAddress(std::string_view text);

/** "ADDRESS:PORT", as in a Host header. */
[[nodiscard]] std::string ToText(const Address &address);

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
    [[nodiscard]] bool Send(std::string_view bytes);
    /** Says that nothing more will be sent. */
    void EndSending();
    /** Waits until the deadline or until something has come (true), be it bytes or the connection's end. */
    [[nodiscard]] bool WaitForInput(std::chrono::steady_clock::time_point deadline) const;
    /** Everything that comes until the other end closes. */
    std::string ReceiveAll();

  private:
    int m_socket = -1;
};

} // namespace talk
