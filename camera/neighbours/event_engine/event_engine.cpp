#include "camera/neighbours/event_engine/clip_settings.h"
#include "camera/neighbours/event_engine/event_rules.h"
#include "camera/neighbours/event_engine/recorder.h"
#include "camera/neighbours/event_engine/snapshots.h"
#include "camera/surroundings/neighbours.h"

#include <algorithm>
#include <bit>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>

/*
 * The event engine: does what the event slots and the recording slot say, when windows and inputs are active and
 * when their time has come. The rules are looked at again whenever something happens, whenever a setting of theirs
 * changes, and every second, because the clock goes on, or is set.
 */

namespace camera
{

namespace asio = boost::asio;

namespace
{

using std::chrono::steady_clock;
using Mode = RecordingPlan::Mode;

constexpr std::chrono::seconds TICK(1);
constexpr int SLOTS = 4;
enum Slot { RECORDER, SNAPSHOT, ALARM, REBOOT };

constexpr const char *ALARM_OUTPUT = "status_do_i0";

const char *nameOf(EventTrigger trigger)
{
    switch (trigger) {
    case EventTrigger::None:
        return "";
    case EventTrigger::Motion:
        return "motion";
    case EventTrigger::Input:
        return "input";
    case EventTrigger::Sequence:
        return "sequence";
    case EventTrigger::Reboot:
        return "reboot";
    }
    return "";
}

/** What has triggered a rule: its first active window or input. */
std::string causeOf(const EventRule &rule, const Sensed &sensed)
{
    const bool motion = rule.trigger == EventTrigger::Motion;
    const std::uint32_t active = motion ? rule.mask.windows & sensed.windows : rule.mask.inputs & sensed.inputs;
    return (motion ? "motion window " : "input ") + std::to_string(std::countr_zero(active) + 1);
}

class EventEngine : public Neighbour
{
  public:
    EventEngine(Surroundings &around, PictureSource &pictures)
        : around_(around), log_(around.clock), worker_(around.io, Worker::AtTheEnd::Finish),
          snapshots_(around, pictures, worker_, log_), recorder_(around, pictures, worker_, log_),
          timer_(around.io), lastLook_(around.clock.now()),
          subscriptions_{
              around.events.connect([this](const CameraEvent &event) { sense(event); }),
              around.store.watchPrefix("event_i", [this](const Setting &) { lookSoon(); }),
              around.store.watchPrefix("recording_i0_", [this](const Setting &) { lookSoon(); }),
              around.store.watchPrefix("media_i0_", [this](const Setting &) { lookSoon(); }),
              around.powerOff.connect([this] { switchOff(); }),
              around.powerOn.connect([this] { switchOn(); }),
          }
    {
        around.state.add("events", [this] { return state(); });
        tick();
    }

  private:
    void sense(const CameraEvent &event)
    {
        if (event.number < 0 || event.number >= 32)
            return;
        std::uint32_t &mask = event.source == CameraEvent::Source::Motion ? sensed_.windows : sensed_.inputs;
        const std::uint32_t bit = std::uint32_t{1} << event.number;
        mask = event.active ? mask | bit : mask & ~bit;
        look();
    }

    void tick()
    {
        look();
        timer_.expires_after(TICK);
        timer_.async_wait([this](const boost::system::error_code &error) {
            if (!error)
                tick();
        });
    }

    /** A request changes many settings: they are looked at once, when all of them are there. */
    void lookSoon()
    {
        if (std::exchange(lookWaits_, true))
            return;
        asio::post(around_.io, [this] {
            lookWaits_ = false;
            look();
        });
    }

    void look()
    {
        const CameraClock::LocalTime now = around_.clock.now();
        const CameraClock::LocalTime before = std::exchange(lastLook_, now);
        if (!on_)
            return;
        try {
            lookAtAlarm(now);
            lookAtSnapshot(now);
            lookAtRecorder(now);
            if (readEventRule(around_.store, REBOOT).rebootDue(before, now)) {
                log_.add("scheduled reboot");
                around_.rebootWanted.emit("scheduled");
            }
        } catch (const StoreError &error) {
            std::cerr << "kelpa-camera: " << error.what() << "\n";
        }
    }

    /** The output follows the alarm. While that lasts it can still be switched by hand. */
    void lookAtAlarm(CameraClock::LocalTime now)
    {
        const EventRule rule = readEventRule(around_.store, ALARM);
        const bool active =
            rule.inForce(now) && rule.triggered(sensed_) && around_.store.isOn("event_i2_action_do_i0_enable");
        if (active == alarm_)
            return;
        alarm_ = active;
        if (active) {
            ++alarms_;
            log_.add("alarm, output 1 on: " + causeOf(rule, sensed_));
        } else {
            log_.add("alarm over, output 1 off");
        }
        around_.store.set(ALARM_OUTPUT, active ? "1" : "0");
    }

    void lookAtSnapshot(CameraClock::LocalTime now)
    {
        const EventRule rule = readEventRule(around_.store, SNAPSHOT);
        const bool inForce = rule.inForce(now);
        const bool triggered = inForce && rule.triggered(sensed_);
        if (triggered && !snapshotTriggered_)
            snapshots_.take(causeOf(rule, sensed_));
        snapshotTriggered_ = triggered;

        if (!inForce || rule.trigger != EventTrigger::Sequence) {
            lastInSequence_.reset();
            return;
        }
        const auto interval = std::chrono::minutes(std::max(1, around_.store.number("event_i1_inter")));
        const auto time = steady_clock::now();
        if (lastInSequence_ && time - *lastInSequence_ < interval)
            return;
        lastInSequence_ = time;
        snapshots_.take("sequence");
    }

    void lookAtRecorder(CameraClock::LocalTime now)
    {
        RecordingPlan plan;
        std::string folder = folderOfSchedule(now);
        if (!folder.empty()) {
            plan = readSchedulePlan(around_.store);
            plan.mode = Mode::Schedule;
        } else {
            const EventRule rule = readEventRule(around_.store, RECORDER);
            const bool counts = rule.trigger == EventTrigger::Motion || rule.trigger == EventTrigger::Input;
            plan = readEventPlan(around_.store);
            folder = folderOfEvents();
            if (rule.inForce(now) && counts && !folder.empty())
                plan.mode = rule.triggered(sensed_) ? Mode::Event : Mode::Armed;
        }
        recorder_.follow(plan, {.folder = folder, .limit = readClipLimit(around_.store)});
    }

    /** Where the recording slot records to right now; empty when it does not. */
    [[nodiscard]] std::string folderOfSchedule(CameraClock::LocalTime now) const
    {
        if (!around_.store.isOn("recording_i0_enable") ||
            !readSchedule(around_.store, "recording_i0").contains(now))
            return "";
        const std::string &destination = around_.store.text("recording_i0_dest");
        if (destination == "cf")
            return "/mnt/cf";
        return destination == "0" ? "/mnt/nas" : "";
    }

    [[nodiscard]] std::string folderOfEvents() const
    {
        if (around_.store.isOn("event_i0_action_cf_enable"))
            return "/mnt/cf";
        return around_.store.isOn("event_i0_action_server_i0_enable") ? "/mnt/nas" : "";
    }

    void switchOff()
    {
        on_ = false;
        recorder_.follow({}, {});
    }

    /** What is active still is; everything else begins anew, the output among it. */
    void switchOn()
    {
        on_ = true;
        alarm_ = false;
        snapshotTriggered_ = false;
        lastInSequence_.reset();
        look();
    }

    [[nodiscard]] nlohmann::json state() const
    {
        const CameraClock::LocalTime now = around_.clock.now();
        nlohmann::json slots = nlohmann::json::array();
        for (int slot = 0; slot < SLOTS; ++slot) {
            const EventRule rule = readEventRule(around_.store, slot);
            slots.push_back({{"name", around_.store.text("event_i" + std::to_string(slot) + "_name")},
                             {"enabled", rule.enabled},
                             {"trigger", nameOf(rule.trigger)},
                             {"in_schedule", rule.schedule.contains(now)},
                             {"triggered", rule.triggered(sensed_)}});
        }
        nlohmann::json log = nlohmann::json::array();
        for (const EventLog::Entry &entry : log_.entries())
            log.push_back({{"time", entry.time}, {"text", entry.text}});
        return {{"slots", slots},
                {"alarm", {{"active", alarm_}, {"count", alarms_}}},
                {"snapshots", snapshots_.state()},
                {"recorder", recorder_.state()},
                {"log", log}};
    }

    Surroundings &around_;
    EventLog log_;
    Worker worker_;
    Snapshots snapshots_;
    Recorder recorder_;
    asio::steady_timer timer_;
    bool on_ = true;
    bool lookWaits_ = false;
    CameraClock::LocalTime lastLook_;
    Sensed sensed_;
    bool alarm_ = false;
    int alarms_ = 0;
    bool snapshotTriggered_ = false;
    std::optional<steady_clock::time_point> lastInSequence_;
    std::vector<Subscription> subscriptions_;
};

} // namespace

std::unique_ptr<Neighbour> makeEventEngine(Surroundings &around, PictureSource &pictures)
{
    return std::make_unique<EventEngine>(around, pictures);
}

} // namespace camera
