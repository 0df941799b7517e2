#include "camera/base/client.h"
#include "camera/base/listener.h"
#include "camera/base/root_folder.h"
#include "camera/neighbours/ptz/ptz_head.h"
#include "camera/neighbours/ptz/ptz_presets.h"
#include "camera/surroundings/neighbours.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/steady_timer.hpp>
#include <iostream>
#include <nlohmann/json.hpp>
#include <unistd.h>

/*
 * The PTZ daemon: takes one command line per connection, moves the head, and lets the picture follow it.
 */

namespace camera
{

namespace asio = boost::asio;

namespace
{

using std::chrono::steady_clock;

/** A client that has not sent its line by then is left. */
constexpr std::chrono::seconds LINE_TIME(2);
/** As often as there are pictures. */
constexpr std::chrono::milliseconds MOTION_STEP(33);

class PtzDaemon : public PtzNeighbour
{
  public:
    explicit PtzDaemon(Surroundings &around)
        : around_(around), socketPath_(around.root.path(PTZ_SOCKET)), head_(steady_clock::now()),
          presets_(around.store), timer_(around.io),
          listener_(around.io, listenAtPath(socketPath_),
                    [this](FileDescriptor socket) {
                        asio::co_spawn(around_.io, serve(Client(around_.io, std::move(socket))), asio::detached);
                    }),
          powerOn_(around.powerOn.connect([this] {
              head_.reset();
              follow();
          }))
    {
        around.state.add("ptz", [this] { return state(); });
    }

    ~PtzDaemon() override { unlink(socketPath_.c_str()); }

    [[nodiscard]] View view() const override { return view_; }

  private:
    asio::awaitable<void> serve(Client client)
    {
        client.setTimeLimit(LINE_TIME);
        char buffer[MAX_PTZ_LINE];
        const bool readable = co_await client.readable();
        if (!readable)
            co_return;
        // The line has no end mark. The daemon sends it in one write, which a stream socket of this machine
        // delivers as a whole.
        const ssize_t received = client.receiveNow(buffer);
        if (received > 0)
            take({buffer, static_cast<size_t>(received)});
    }

    void take(std::string_view line)
    {
        ++commands_;
        last_ = line;
        error_.clear();
        try {
            carryOut(parsePtzCommand(line));
        } catch (const PtzError &error) {
            error_ = error.what();
        } catch (const StoreError &error) {
            error_ = error.what();
            std::cerr << "kelpa-camera: " << error.what() << "\n";
        }
        follow();
    }

    void carryOut(const PtzCommand &command)
    {
        head_.advance(steady_clock::now());
        head_.setSpeeds(command);
        std::visit([this](const auto &action) { act(action); }, command.action);
    }

    void act(std::monostate) {}
    void act(PtzMove direction) { head_.step(direction); }
    void act(PtzZoom direction) { head_.step(direction); }
    void act(PtzFocus direction) { head_.step(direction); }
    void act(PtzAuto action) { head_.setAutoPan(action); }
    void act(const PtzKeep &preset) { presets_.keep(preset.name, head_.advance(steady_clock::now())); }
    void act(const PtzForget &preset) { presets_.forget(preset.name); }
    void act(const PtzRecall &preset) { head_.moveTo(presets_.find(preset.name)); }
    void act(PtzCentre point)
    {
        // The picture that the user has pointed at may be turned round.
        if (around_.store.isOn("videoin_c0_mirror"))
            point.x = point.width - point.x;
        if (around_.store.isOn("videoin_c0_flip"))
            point.y = point.height - point.y;
        head_.centre(point);
    }

    /** Shows where the head looks now, and again while it moves. */
    void follow()
    {
        view_ = head_.advance(steady_clock::now());
        if (!head_.moving())
            return;
        timer_.expires_after(MOTION_STEP);
        timer_.async_wait([this](const boost::system::error_code &error) {
            if (!error)
                follow();
        });
    }

    [[nodiscard]] nlohmann::json state() const
    {
        nlohmann::json presets = nlohmann::json::array();
        for (const PtzPresets::Preset &preset : presets_.all())
            presets.push_back({{"name", preset.name},
                               {"pan", preset.view.pan},
                               {"tilt", preset.view.tilt},
                               {"zoom", preset.view.zoom}});
        return {{"pan", view_.pan},
                {"tilt", view_.tilt},
                {"zoom", view_.zoom},
                {"focus", head_.focus()},
                {"moving", head_.moving()},
                {"auto_pan", head_.autoPan()},
                {"speed_pan", head_.panSpeed()},
                {"speed_tilt", head_.tiltSpeed()},
                {"speed_zoom", head_.zoomSpeed()},
                {"presets", presets},
                {"commands", commands_},
                {"last", last_},
                {"error", error_}};
    }

    Surroundings &around_;
    std::string socketPath_;
    PtzHead head_;
    View view_; ///< where the head looked when it was last looked after
    PtzPresets presets_;
    asio::steady_timer timer_;
    std::uint64_t commands_ = 0;
    std::string last_;
    std::string error_; ///< of the last command; empty when it was carried out
    Listener listener_;
    Subscription powerOn_;
};

} // namespace

std::unique_ptr<PtzNeighbour> makePtzDaemon(Surroundings &around)
{
    return std::make_unique<PtzDaemon>(around);
}

} // namespace camera
