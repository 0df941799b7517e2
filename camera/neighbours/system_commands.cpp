#include "camera/base/files.h"
#include "camera/base/root_folder.h"
#include "camera/surroundings/neighbours.h"

#include <boost/asio/steady_timer.hpp>
#include <filesystem>
#include <nlohmann/json.hpp>

/*
 * What the settings "network_restart" and "system_reset" ask for, the clock's part of GET /camera/state, and the
 * recorder's program, which the daemon runs when the seconds before and after an event were changed.
 */

namespace camera
{

namespace asio = boost::asio;
namespace fs = std::filesystem;

namespace
{

constexpr std::string_view TASK_PROGRAM = "/usr/bin/gen_task";
constexpr std::string_view LOG_FOLDER = "/var/log";
constexpr std::string_view TASK_LOG = "/var/log/gen_task.log";
/** Finds the log beside itself, whatever the root folder is called. */
constexpr std::string_view TASK_SCRIPT =
    "#!/bin/sh\n"
    "# The recorder's program: notes that it was run.\n"
    "echo \"gen_task $*\" >> \"${0%/usr/bin/gen_task}/var/log/gen_task.log\"\n";

/** The lines that the recorder's program has written since the camera was started. */
class TaskLog
{
  public:
    explicit TaskLog(const RootFolder &root) : path_(root.path(TASK_LOG))
    {
        fs::create_directories(root.path(LOG_FOLDER));
        fs::remove(path_);
        replaceFile(root.path(TASK_PROGRAM), TASK_SCRIPT, 0755);
    }

    [[nodiscard]] nlohmann::json state() const
    {
        std::string text;
        if (fs::exists(path_))
            text = readFile(path_);
        const auto runs = std::count(text.begin(), text.end(), '\n');
        if (!text.empty())
            text.pop_back();
        const size_t last = text.rfind('\n');
        return {{"runs", runs}, {"last", last == std::string::npos ? text : text.substr(last + 1)}};
    }

  private:
    std::string path_;
};

class SystemCommands : public Neighbour
{
  public:
    explicit SystemCommands(Surroundings &around)
        : around_(around), taskLog_(around.root), resetTimer_(around.io),
          networkRestart_(around.store.watch("network_restart",
                                             [this](const Setting &setting) { restartNetwork(setting.value); })),
          systemReset_(around.store.watch("system_reset", [this](const Setting &) { reset(); })),
          powerOff_(around.powerOff.connect([this] { resetTimer_.cancel(); }))
    {
        around.state.add("clock", [&around] {
            return nlohmann::json{{"time", toText(around.clock.now())},
                                  {"zone", around.clock.zone().count()},
                                  {"synchronised", around.clock.synchronised()}};
        });
        around.state.add("network", [this] {
            return nlohmann::json{{"restarts", networkRestarts_}, {"time", networkTime_}};
        });
        around.state.add("gen_task", [this] { return taskLog_.state(); });
    }

  private:
    void restartNetwork(const std::string &value)
    {
        if (value != "1")
            return;
        ++networkRestarts_;
        networkTime_ = toText(around_.clock.now());
    }

    /** Restarts the camera after the seconds that were set; those that were set last count. */
    void reset()
    {
        const int seconds = around_.store.number("system_reset");
        if (seconds <= 0)
            return;
        resetTimer_.expires_after(std::chrono::seconds(seconds));
        resetTimer_.async_wait([this](const boost::system::error_code &error) {
            if (!error)
                around_.rebootWanted.emit("system_reset");
        });
    }

    Surroundings &around_;
    TaskLog taskLog_;
    asio::steady_timer resetTimer_;
    int networkRestarts_ = 0;
    std::string networkTime_;
    Subscription networkRestart_;
    Subscription systemReset_;
    Subscription powerOff_;
};

} // namespace

std::unique_ptr<Neighbour> makeSystemCommands(Surroundings &around)
{
    return std::make_unique<SystemCommands>(around);
}

} // namespace camera
