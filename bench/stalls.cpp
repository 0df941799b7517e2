/*
 * Measures what clients that stall cost another client: how long requests take while one to 28 others do not read,
 * do not finish their body, or send a byte a second; in fair mode and without.
 *
 *     kelpa_bench_stalls KELPA ROOT
 *
 * ROOT is an empty folder in which the daemon runs. Prints a Markdown table. Ends by itself within two minutes.
 */

#include "bench/daemon_run.h"
#include "platform/fdcgi.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace
{

enum class Stall { None, DoesNotRead, DoesNotFinish, ByteASecond };
constexpr const char *STALL_NAMES[] = {"nobody stalls", "do not read", "do not finish their body",
                                       "send a byte a second"};

/** Longer than a measurement takes: what stalls must not be closed for it. */
constexpr auto MEASURE_LIMIT = 6s;

/** Clients that stall, until the end of the object. */
class StallingClients
{
  public:
    StallingClients(Stall stall, int count, int handOver)
    {
        const FDCGI_Request stream{.method = "GET", .url = "/config/notify_stream.cgi", .query = {}, .body = {}};
        const FDCGI_Request change{.method = "POST",
                                   .url = "/config/camera_info.cgi",
                                   .query = {},
                                   .contentLength = "1000",
                                   .body = "name="};
        for (int i = 0; i < count && stall != Stall::None; ++i)
            clients_.push_back(stall == Stall::DoesNotRead ? handOverFull(handOver, stream)
                                                           : handOverRequest(handOver, change));
        if (stall == Stall::ByteASecond)
            sender_ = std::jthread([this](const std::stop_token &stop) {
                while (!stop.stop_requested()) {
                    for (const Client &client : clients_)
                        (void)send(client.socket.get(), "x", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
                    for (int i = 0; i < 20 && !stop.stop_requested(); ++i)
                        std::this_thread::sleep_for(50ms);
                }
            });
    }

  private:
    std::vector<Client> clients_;
    std::jthread sender_; ///< last: it ends first
};

std::string percentiles(std::vector<std::chrono::nanoseconds> times)
{
    std::ranges::sort(times);
    const auto at = [&](double part) {
        const auto time = times[static_cast<size_t>(part * static_cast<double>(times.size() - 1))];
        return std::chrono::duration<double, std::milli>(time).count();
    };
    std::array<char, 64> text;
    snprintf(text.data(), text.size(), "%.2f / %.2f ms", at(0.5), at(0.99));
    return text.data();
}

std::string measure(Exchange &exchange, Stall stall, int count, int handOver)
{
    const StallingClients clients(stall, count, handOver);
    std::vector<std::chrono::nanoseconds> times;
    const auto end = std::chrono::steady_clock::now() + MEASURE_LIMIT;
    while (times.size() < 2000 && std::chrono::steady_clock::now() < end) {
        const auto some = exchange.run(KINDS[0], handOver, 1, 1);
        times.insert(times.end(), some.begin(), some.end());
    }
    return percentiles(times);
}

void run(const std::string &kelpaPath, const fs::path &root)
{
    layOutCamera(root);
    Exchange exchange(root);
    puts("| Other clients | fair, p50 / p99 | default, p50 / p99 |\n|---|---|---|");
    const std::pair<Stall, int> rows[] = {
        {Stall::None, 0},           {Stall::DoesNotRead, 1}, {Stall::DoesNotRead, 28}, {Stall::DoesNotFinish, 1},
        {Stall::DoesNotFinish, 28}, {Stall::ByteASecond, 1}, {Stall::ByteASecond, 28}};
    int start = 0;
    for (const auto &[stall, count] : rows) {
        std::string cells[2];
        for (const bool fair : {true, false}) {
            if (!fair && count > 1) { // half a second for each of them and request: not worth the wait
                cells[1] = "not measured";
                continue;
            }
            setenv("KELPA_FAIR", fair ? "1" : "0", 1);
            const fs::path folder = root / std::to_string(start++);
            const ChildProcess kelpa = startDaemon(exchange, kelpaPath, folder, -1, "/dev/null");
            const FileDescriptor handOver = connectTo(folder / "kelpa");
            exchange.run(KINDS[0], handOver.get(), 200, 1);
            cells[fair ? 0 : 1] = measure(exchange, stall, count, handOver.get());
        }
        const std::string who = count > 0 ? std::to_string(count) + " " : "";
        printf("| %s%s | %s | %s |\n", who.c_str(), STALL_NAMES[static_cast<size_t>(stall)], cells[0].c_str(),
               cells[1].c_str());
        fflush(stdout);
    }
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Measures what clients that stall cost another client of the daemon.");
    std::string kelpa;
    std::string root;
    app.add_option("KELPA", kelpa, "the daemon's program")->required();
    app.add_option("ROOT", root, "an empty folder in which it runs")->required();
    try {
        app.parse(argc, argv);
        run(kelpa, root);
    } catch (const CLI::ParseError &error) {
        return app.exit(error);
    } catch (const std::exception &error) {
        fprintf(stderr, "kelpa_bench_stalls: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
