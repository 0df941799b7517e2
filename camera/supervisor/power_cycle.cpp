#include "camera/supervisor/power_cycle.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <system_error>
#include <vector>

namespace camera
{

namespace
{

/** From the moment when nothing runs any more to the start of the daemon. */
constexpr std::chrono::milliseconds BOOT_TIME(3000);
constexpr std::chrono::milliseconds LISTEN_RETRY_TIME(500);

} // namespace

PowerCycle::PowerCycle(Surroundings &around, Supervisor &supervisor, WebServer &server,
                       std::function<FileDescriptor()> listen)
    : around_(around), supervisor_(supervisor), server_(server), listen_(std::move(listen)), timer_(around.io),
      rebootWanted_(around.rebootWanted.connect([this](const std::string &reason) { goDown(reason); }))
{
    around.state.add("power", [this] {
        return nlohmann::json{{"reboots", reboots_}, {"reason", lastReason_}, {"time", lastTime_}};
    });
}

void PowerCycle::end()
{
    down_ = true;
    timer_.cancel();
}

void PowerCycle::goDown(const std::string &reason)
{
    if (down_)
        return;
    down_ = true;
    ++reboots_;
    lastReason_ = reason;
    lastTime_ = toText(around_.clock.now());
    std::cout << "kelpa-camera: restarting: " << reason << std::endl;
    server_.close();
    around_.powerOff.emit();
    supervisor_.stop([this] { after(BOOT_TIME, &PowerCycle::comeUp); });
}

void PowerCycle::comeUp()
{
    try {
        beginAnew();
    } catch (const StoreError &error) {
        std::cerr << "kelpa-camera: " << error.what() << "\n";
    }
    around_.powerOn.emit();
    supervisor_.start([this] { openDoors(); });
}

/** The inputs stay as they are: what is connected to them has not been switched off. */
void PowerCycle::beginAnew()
{
    std::vector<Setting> fresh = {{"system_reset", "0"}, {"network_restart", "0"}};
    for (int i = 0; around_.store.find("status_do_i" + std::to_string(i)) != nullptr; ++i)
        fresh.push_back({"status_do_i" + std::to_string(i), "0"});
    around_.store.set(fresh);
}

void PowerCycle::openDoors()
{
    try {
        server_.open(listen_());
        down_ = false;
    } catch (const std::system_error &error) {
        std::cerr << "kelpa-camera: " << error.what() << "\n";
        after(LISTEN_RETRY_TIME, &PowerCycle::openDoors);
    }
}

void PowerCycle::after(std::chrono::milliseconds time, void (PowerCycle::*what)())
{
    timer_.expires_after(time);
    timer_.async_wait([this, what](const boost::system::error_code &error) {
        if (!error)
            (this->*what)();
    });
}

} // namespace camera
