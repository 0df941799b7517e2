#pragma once

#include "platform/message.h"
#include "tests/fakes/temp_root.h"
#include "tests/fakes/test_support.h"

#include <span>
#include <string>
#include <string_view>

/**
 * The client's end of a connection whose other end the daemon has. What takes longer than TEST_DEADLINE fails the
 * test and gives what has come until then.
 */
class ClientSide
{
  public:
    ClientSide() = default;
    explicit ClientSide(FileDescriptor socket) : socket_(std::move(socket)) {}

    /** Every byte until the daemon closes; bytes already given are not given again. */
    std::string readAll();
    /** Waits until what came since the last call ends with `end`, and gives it. */
    std::string readUntil(std::string_view end);
    /** What has come already, without waiting. */
    std::string readNow();
    void send(std::string_view bytes) const;
    /** Closes the connection; the destructor does it too. */
    void close() { socket_.reset(); }
    [[nodiscard]] int fd() const { return socket_.get(); }

  private:
    enum class Got { Bytes, Nothing, End };
    Got readSome(std::string &into, bool wait);

    FileDescriptor socket_;
};

/** One HTTP request as the web server hands it over. */
struct TestRequest {
    std::string method = "GET";
    std::string url;
    std::string query = {};
    std::string body = {};          ///< what is handed over of it
    std::string contentLength = {}; ///< empty: the body's length
};

/** Hands a request over to the daemon at `socketPath` and gives the client's end of its connection. */
[[nodiscard]] ClientSide handOver(const std::string &socketPath, const TestRequest &request);

/** Hands over a raw datagram with `descriptors` ends of connections (0 to 15), only the first of which matters. */
[[nodiscard]] ClientSide handOverRaw(const std::string &socketPath, std::string_view payload, int descriptors = 1);

/** The payload of a request's datagram, for tests that damage it. */
[[nodiscard]] std::string handOverPayload(const TestRequest &request);

/** Sends a datagram to the daemon's event endpoint. */
void sendEventText(const TempRoot &root, std::string_view datagram);
/** Sends an event message: {index, channel, type, state, time} each. */
void sendEvents(const TempRoot &root, std::span<const EventRecord> events);
