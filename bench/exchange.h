#pragma once

#include "bench/kinds.h"
#include "tests/fakes/test_support.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

/** One request on its way, seen from the client. */
struct Client {
    FileDescriptor socket;
    std::chrono::steady_clock::time_point begin;
    std::string received;
};

/**
 * The daemon's surroundings in one thread: the web server that hands requests over, their clients, and the
 * configuration store. Every text that comes back is compared byte for byte; a difference throws, with both texts.
 */
class Exchange
{
  public:
    /** Puts the store at its place under `root`. */
    explicit Exchange(const std::filesystem::path &root);

    /** Answers what the daemon asks the store at its start. */
    void serveStart();

    /**
     * Makes `count` requests, `inFlight` at a time, through the hand-over socket `handOver`. Returns the time from
     * each hand-over to the end of its reply.
     */
    std::vector<std::chrono::nanoseconds> run(const Kind &kind, int handOver, int count, int inFlight);

    /** Opens notify streams and reads the header of each. */
    static std::vector<Client> openStreams(int handOver, int count);
    /** Ends the streams from the client's side and waits until the daemon has ended each of them too. */
    static void closeStreams(std::vector<Client> &streams);

  private:
    void serveStore(std::string_view request, std::string_view reply);

    FileDescriptor store_;
};

struct FDCGI_Request;

/** Hands one request over, as the web server does: it keeps nothing of the client's connection. */
[[nodiscard]] Client handOverRequest(int handOver, const FDCGI_Request &request);
/** The same with a connection that takes nothing from the daemon until its client reads. */
[[nodiscard]] Client handOverFull(int handOver, const FDCGI_Request &request);

/** Waits until a program has bound its hand-over socket; returns a socket connected to it. */
FileDescriptor connectTo(const std::filesystem::path &path);
