#pragma once

#include "platform/message.h"
#include "tests/fakes/temp_root.h"
#include "tests/fakes/test_support.h"

#include <span>
#include <string>
#include <string_view>

/**
 * One end of a connection, or the reading end of a pipe. What takes longer than TEST_DEADLINE fails the test and
 * gives what has come until then. No byte is given twice.
 */
class ClientSide
{
  public:
    ClientSide() = default;
    explicit ClientSide(FileDescriptor connection) : connection_(std::move(connection)) {}

    /** Every byte until the other end closes. */
    std::string readAll();
    /** Every byte up to `sign`, and the sign itself. */
    std::string readUntil(std::string_view sign);
    /** So many bytes. */
    std::string read(size_t length);
    /** What has come already, without waiting. */
    std::string readNow();
    void send(std::string_view bytes) const;
    /** Closes the connection; the destructor does it too. */
    void close() { connection_.reset(); }
    [[nodiscard]] int fd() const { return connection_.get(); }

  private:
    enum class Got { Bytes, Nothing, End };
    Got receive(bool wait);
    /** Gives the first bytes of what was received. */
    std::string take(size_t length);

    FileDescriptor connection_;
    std::string received_; ///< and was not given yet
};

/** Both ends of a client's connection. */
struct Connection {
    FileDescriptor client;
    FileDescriptor daemon;
};
[[nodiscard]] Connection makeConnection();

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
