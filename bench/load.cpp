/*
 * Measures what a request costs the daemon beside what its system calls alone cost: the same load goes to the
 * daemon and to the floor program, in turns of one run, so that whatever else the machine does meets both alike.
 *
 *     kelpa_bench_load KELPA FLOOR ROOT
 *
 * ROOT is an empty folder in which both run. Prints a Markdown table; ends with an error when a reply is not the
 * expected one, byte for byte.
 */

#include "bench/daemon_run.h"
#include "bench/exchange.h"
#include "bench/program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sched.h>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using std::chrono::nanoseconds;

namespace
{

constexpr int ROUNDS = 60;
/** On a slow machine there are fewer rounds. */
constexpr std::chrono::seconds ROUNDS_LIMIT(8);
constexpr int REQUESTS_PER_ROUND = 200;
constexpr int WARM_UP_REQUESTS = 200;
/** Requests at a time while processor time is measured: the program never waits for the load. */
constexpr int IN_FLIGHT = 4;
constexpr int TRACED_REQUESTS = 100;
constexpr int NOTIFY_STREAMS = 30;
constexpr int MEMORY_STARTS = 8;

/**
 * Keeps this process on the first processor that it may use, and returns the last one, for the measured programs;
 * -1, for anywhere, when there is only one.
 */
int chooseProcessors()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0 || CPU_COUNT(&allowed) < 2)
        return -1;
    int first = -1;
    int last = -1;
    for (int i = 0; i < CPU_SETSIZE; ++i)
        if (CPU_ISSET(static_cast<size_t>(i), &allowed)) {
            first = first < 0 ? i : first;
            last = i;
        }
    cpu_set_t own;
    CPU_ZERO(&own);
    CPU_SET(static_cast<size_t>(first), &own);
    sched_setaffinity(0, sizeof own, &own);
    return last;
}

struct Measured {
    const ChildProcess &program;
    FileDescriptor handOver;
    std::vector<double> cpuPerRequest; ///< microseconds, one for each round
    std::vector<nanoseconds> latencies;
};

template <typename T>
T quantile(std::vector<T> values, double part)
{
    const auto at = values.begin() + static_cast<ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::ranges::nth_element(values, at);
    return *at;
}

double microseconds(nanoseconds time)
{
    return std::chrono::duration<double, std::micro>(time).count();
}

void runRound(Exchange &exchange, const Kind &kind, Measured &measured)
{
    resume(measured.program);
    const nanoseconds begin = cpuTime(measured.program);
    exchange.run(kind, measured.handOver.get(), REQUESTS_PER_ROUND, IN_FLIGHT);
    measured.cpuPerRequest.push_back(microseconds(cpuTime(measured.program) - begin) / REQUESTS_PER_ROUND);
    const auto latencies = exchange.run(kind, measured.handOver.get(), REQUESTS_PER_ROUND, 1);
    measured.latencies.insert(measured.latencies.end(), latencies.begin(), latencies.end());
    hold(measured.program);
}

void runRounds(Exchange &exchange, const Kind &kind, Measured &kelpa, Measured &floor)
{
    Measured *pair[] = {&kelpa, &floor};
    for (Measured *measured : pair)
        exchange.run(kind, measured->handOver.get(), WARM_UP_REQUESTS, IN_FLIGHT);
    for (const Measured *measured : pair)
        hold(measured->program);
    const auto end = std::chrono::steady_clock::now() + ROUNDS_LIMIT;
    for (int i = 0; i < ROUNDS && std::chrono::steady_clock::now() < end; ++i) {
        for (Measured *measured : pair)
            runRound(exchange, kind, *measured);
        std::swap(pair[0], pair[1]);
    }
    for (const Measured *measured : pair)
        resume(measured->program);
}

/** System calls per request, by what they are for. */
struct Calls {
    double own = 0;
    double store = 0; ///< from the opening to the closing of the connection to the store
    double clock = 0;
};

/** Sorts the lines that strace has written. Waiting in vain for a request is not part of any request. */
Calls countCalls(const fs::path &log, double requests)
{
    Calls calls;
    std::string storeSocket;
    std::ifstream file(log);
    for (std::string line; std::getline(file, line);) {
        const size_t bracket = line.find('(');
        if (bracket == std::string::npos || line.ends_with("(Timeout)") || line.starts_with("---"))
            continue;
        const std::string name = line.substr(0, bracket);
        const std::string descriptor = line.substr(bracket + 1, line.find_first_of(",)", bracket) - bracket - 1);
        if (name == "socket")
            storeSocket = line.substr(line.rfind(' ') + 1);
        const bool clock = name == "times" || name.starts_with("clock_gettime");
        const bool store = name == "socket" || descriptor == storeSocket;
        (clock ? calls.clock : store ? calls.store : calls.own) += 1 / requests;
        if (name == "close" && store)
            storeSocket.clear();
    }
    return calls;
}

/** Follows one program with strace through a few requests, made one by one. */
std::string traceCalls(Exchange &exchange, const Kind &kind, const Measured &measured, const fs::path &log)
{
    ChildProcess tracer({"strace", "-q", "-o", log, "-p", std::to_string(measured.program.pid())},
                        {.errorFile = ""});
    while (statusOf(measured.program, "TracerPid") == 0)
        if (std::this_thread::sleep_for(std::chrono::milliseconds(1)); tracer.ended())
            return "not measured";
    exchange.run(kind, measured.handOver.get(), TRACED_REQUESTS, 1);
    tracer.signal(SIGINT);
    (void)tracer.wait();
    const Calls calls = countCalls(log, TRACED_REQUESTS);
    std::array<char, 64> text;
    snprintf(text.data(), text.size(), "%.2f + %.2f + %.2f", calls.own, calls.store, calls.clock);
    return text.data();
}

std::vector<double> ratiosOf(const Measured &kelpa, const Measured &floor)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < kelpa.cpuPerRequest.size(); ++i)
        ratios.push_back(kelpa.cpuPerRequest[i] / floor.cpuPerRequest[i]);
    return ratios;
}

void printTimes(const std::string &what, const Measured &kelpa, const Measured &floor)
{
    const std::vector<double> ratios = ratiosOf(kelpa, floor);
    printf("| %s: processor time per request | %.1f µs | %.1f µs | ratio %.2f (%.2f to %.2f) | at most 1.3 |\n",
           what.c_str(), quantile(kelpa.cpuPerRequest, 0.5), quantile(floor.cpuPerRequest, 0.5),
           quantile(ratios, 0.5), quantile(ratios, 0.25), quantile(ratios, 0.75));
    printf("| %s: latency p50 / p99 |", what.c_str());
    for (const Measured *measured : {&kelpa, &floor})
        printf(" %.0f / %.0f µs |", microseconds(quantile(measured->latencies, 0.5)),
               microseconds(quantile(measured->latencies, 0.99)));
    printf(" | |\n");
}

/** Measures one kind of request beside a floor program of its own. */
void measureKind(Exchange &exchange, const Kind &kind, const std::string &what, Measured &kelpa, Measured &floor,
                 const fs::path &log)
{
    runRounds(exchange, kind, kelpa, floor);
    printTimes(what, kelpa, floor);
    const std::string kelpaCalls = traceCalls(exchange, kind, kelpa, log);
    const std::string floorCalls = traceCalls(exchange, kind, floor, log);
    printf("| %s: system calls, own + store + clock | %s | %s | | at most 5 + %d + clock |\n", what.c_str(),
           kelpaCalls.c_str(), floorCalls.c_str(), kind.storeRequest.empty() ? 0 : 5);
}

/**
 * Measures the daemon's memory. The kernel maps pages of shared libraries in groups that depend on where it has
 * placed the library, so the peak differs from start to start, and the worst of several starts counts.
 */
void measureMemory(Exchange &exchange, const std::string &kelpaPath, const fs::path &root)
{
    long peak = 0;
    long own = 0;
    for (int start = 0; start < MEMORY_STARTS; ++start) {
        const fs::path folder = root / ("memory-" + std::to_string(start));
        const ChildProcess kelpa = startDaemon(exchange, kelpaPath, folder, -1, "/dev/null");
        const FileDescriptor handOver = connectTo(folder / "kelpa");
        for (const Kind &kind : KINDS)
            exchange.run(kind, handOver.get(), WARM_UP_REQUESTS, IN_FLIGHT);
        // Before they are measured, streams have been open in every slot: what a session has touched stays
        // resident.
        std::vector<Client> streams = Exchange::openStreams(handOver.get(), NOTIFY_STREAMS);
        Exchange::closeStreams(streams);
        streams = Exchange::openStreams(handOver.get(), NOTIFY_STREAMS);
        peak = std::max(peak, statusOf(kelpa, "VmHWM"));
        own = std::max(own, statusOf(kelpa, "RssAnon"));
    }
    printf("| peak resident memory, %d notify streams | %ld kB, its own %ld kB | | | under 2500 kB |\n",
           NOTIFY_STREAMS, peak, own);
}

void run(const std::string &kelpaPath, const std::string &floorPath, const fs::path &root)
{
    const int cpu = chooseProcessors();
    layOutCamera(root);
    Exchange exchange(root);
    puts("| What | kelpa | floor | | goal |\n|---|---|---|---|---|");
    for (const bool traced : {false, true}) {
        const fs::path folder = root / (traced ? "traced" : "silent");
        const ChildProcess kelpa =
            startDaemon(exchange, kelpaPath, folder, cpu, traced ? (root / "trace").string() : "/dev/null");
        for (const Kind &kind : std::span(KINDS).first(traced ? 1 : KINDS.size())) {
            const fs::path floorSocket = folder / kind.name;
            const ChildProcess floor(
                {floorPath, kind.name, floorSocket, floorSocket.string() + "-event", root / "tmp/configer"},
                {.errorFile = "", .processor = cpu});
            Measured kelpaMeasured{kelpa, connectTo(folder / "kelpa"), {}, {}};
            Measured floorMeasured{floor, connectTo(floorSocket), {}, {}};
            measureKind(exchange, kind, std::string(kind.name) + (traced ? ", trace to a file" : ""), kelpaMeasured,
                        floorMeasured, folder / "strace");
        }
    }
    measureMemory(exchange, kelpaPath, root);
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Measures what a request costs the daemon beside what its system calls alone cost.");
    std::string kelpa;
    std::string floor;
    std::string root;
    app.add_option("KELPA", kelpa, "the daemon's program")->required();
    app.add_option("FLOOR", floor, "the program that makes the system calls only")->required();
    app.add_option("ROOT", root, "an empty folder in which both run")->required();
    try {
        app.parse(argc, argv);
        run(kelpa, floor, root);
    } catch (const CLI::ParseError &error) {
        return app.exit(error);
    } catch (const std::exception &error) {
        fprintf(stderr, "kelpa_bench_load: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
