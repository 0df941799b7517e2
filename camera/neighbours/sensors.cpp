#include "camera/base/number.h"
#include "camera/base/on_off.h"
#include "camera/surroundings/neighbours.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

/*
 * The camera's inputs and motion windows, which the user of the virtual camera switches by hand:
 *
 *   POST /camera/input/1?state=on        POST /camera/motion/2?state=off
 */

namespace camera
{

namespace
{

using nlohmann::json;

json onOff(bool on)
{
    return on ? "on" : "off";
}

class Sensors : public Neighbour
{
  public:
    explicit Sensors(Surroundings &around) : around_(around)
    {
        around.router.add("POST", "/camera/input/*", [this](const OwnRequest &request) {
            return change(request, CameraEvent::Source::Input, "input", countOf("capability_ndi"));
        });
        around.router.add("POST", "/camera/motion/*", [this](const OwnRequest &request) {
            return change(request, CameraEvent::Source::Motion, "motion", countOf("capability_nmotion"));
        });
        around.state.add("inputs", [this] { return line("status_di_i", "capability_ndi"); });
        around.state.add("outputs", [this] { return line("status_do_i", "capability_ndo"); });
        around.state.add("motion", [this] {
            json windows = json::array();
            for (int i = 0; i < countOf("capability_nmotion"); ++i)
                windows.push_back(
                    onOff(static_cast<size_t>(i) < motion_.size() && motion_[static_cast<size_t>(i)]));
            return windows;
        });
    }

  private:
    /** The store may say anything; a camera has a few of each. */
    [[nodiscard]] int countOf(const char *key) const { return std::clamp(around_.store.number(key), 0, 32); }

    json line(const std::string &status, const char *count) const
    {
        json states = json::array();
        for (int i = 0; i < countOf(count); ++i)
            states.push_back(onOff(around_.store.isOn(status + std::to_string(i))));
        return states;
    }

    HttpResponse change(const OwnRequest &request, CameraEvent::Source source, const std::string &name, int highest)
    {
        const int number = parseNumber(request.tail).value_or(0);
        const std::string noun = source == CameraEvent::Source::Motion ? "motion window" : "input";
        if (number < 1 || number > highest)
            return errorResponse(404, "there is no " + noun + " " + request.tail + ", only 1 to " +
                                          std::to_string(highest));
        const std::string state = request.parameter("state");
        const std::optional<bool> active = parseOnOff(state);
        if (!active)
            return errorResponse(400, "state must be on or off");

        keep(source, number - 1, *active);
        around_.events.emit({source, number - 1, *active});
        HttpResponse response;
        response.contentType = "application/json";
        response.body = json{{name, number}, {"state", state}}.dump() + "\n";
        return response;
    }

    void keep(CameraEvent::Source source, int number, bool active)
    {
        if (source == CameraEvent::Source::Input) {
            around_.store.set("status_di_i" + std::to_string(number), active ? "1" : "0");
            return;
        }
        if (static_cast<size_t>(number) >= motion_.size())
            motion_.resize(static_cast<size_t>(number) + 1);
        motion_[static_cast<size_t>(number)] = active;
    }

    Surroundings &around_;
    std::vector<bool> motion_;
};

} // namespace

std::unique_ptr<Neighbour> makeSensors(Surroundings &around)
{
    return std::make_unique<Sensors>(around);
}

} // namespace camera
