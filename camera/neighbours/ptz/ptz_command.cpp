#include "camera/neighbours/ptz/ptz_command.h"

#include "camera/base/number.h"

#include <algorithm>
#include <map>

namespace camera
{

namespace
{

constexpr int MAX_PICTURE_SIDE = 16384;

/** The pairs of a command line, each key once. */
using Pairs = std::map<std::string_view, std::string_view>;

constexpr std::string_view KEYS[] = {
    "channel", "camid", "speedpan", "speedtilt", "speedzoom",  "move",      "zoom",    "focus", "auto",
    "video",   "x",     "y",        "cam",       "resolution", "videosize", "stretch", "name",  "recall",
};

[[noreturn]] void refuse(std::string_view what, std::string_view text)
{
    throw PtzError(std::string(what) + ": " + std::string(text));
}

Pairs split(std::string_view line)
{
    Pairs pairs;
    while (!line.empty()) {
        const std::string_view pair = line.substr(0, line.find('&'));
        line.remove_prefix(std::min(pair.size() + 1, line.size()));
        const size_t equals = pair.find('=');
        if (equals == std::string_view::npos)
            refuse("no pair", pair);
        const std::string_view key = pair.substr(0, equals);
        if (std::find(std::begin(KEYS), std::end(KEYS), key) == std::end(KEYS))
            refuse("unknown key", key);
        if (!pairs.emplace(key, pair.substr(equals + 1)).second)
            refuse("key given twice", key);
    }
    return pairs;
}

int number(std::string_view key, std::string_view text, int lowest, int highest)
{
    const std::optional<int> value = parseNumber(text);
    if (!value || *value < lowest || *value > highest)
        refuse(key, text);
    return *value;
}

std::optional<std::string_view> find(const Pairs &pairs, std::string_view key)
{
    const auto found = pairs.find(key);
    return found == pairs.end() ? std::nullopt : std::optional(found->second);
}

std::string_view required(const Pairs &pairs, std::string_view key)
{
    const auto value = find(pairs, key);
    if (!value)
        refuse("missing", key);
    return *value;
}

std::optional<int> speed(const Pairs &pairs, std::string_view key)
{
    const auto value = find(pairs, key);
    return value ? std::optional(number(key, *value, -MAX_PTZ_SPEED, MAX_PTZ_SPEED)) : std::nullopt;
}

template <class Word>
Word word(std::string_view key, std::string_view text,
          std::initializer_list<std::pair<std::string_view, Word>> words)
{
    for (const auto &[known, value] : words)
        if (text == known)
            return value;
    refuse(key, text);
}

PtzCentre centre(const Pairs &pairs)
{
    // The picture may be shown in another size than it is sent in: x and y are counted on what is shown.
    const auto shown = find(pairs, "videosize");
    const std::string_view size = shown ? *shown : required(pairs, "resolution");
    const size_t mark = size.find('x');
    if (mark == std::string_view::npos)
        refuse("no size", size);
    PtzCentre point = {};
    point.width = number("width", size.substr(0, mark), 1, MAX_PICTURE_SIDE);
    point.height = number("height", size.substr(mark + 1), 1, MAX_PICTURE_SIDE);
    const auto x = find(pairs, "x");
    const auto y = find(pairs, "y");
    point.x = x ? number("x", *x, 0, point.width) : point.width / 2;
    point.y = y ? number("y", *y, 0, point.height) : point.height / 2;
    return point;
}

} // namespace

PtzCommand parsePtzCommand(std::string_view line)
{
    const Pairs pairs = split(line.substr(0, MAX_PTZ_LINE));
    number("channel", required(pairs, "channel"), 0, 0);
    number("camid", required(pairs, "camid"), 0, 9999999);

    PtzCommand command;
    command.panSpeed = speed(pairs, "speedpan");
    command.tiltSpeed = speed(pairs, "speedtilt");
    command.zoomSpeed = speed(pairs, "speedzoom");
    int actions = 0;
    const auto take = [&](std::string_view key, auto make) {
        if (const auto value = find(pairs, key)) {
            command.action = make(*value);
            ++actions;
        }
    };
    take("move", [](std::string_view text) {
        return word<PtzMove>("move", text,
                             {{"up", PtzMove::Up},
                              {"down", PtzMove::Down},
                              {"left", PtzMove::Left},
                              {"right", PtzMove::Right},
                              {"home", PtzMove::Home}});
    });
    take("zoom", [](std::string_view text) {
        return word<PtzZoom>("zoom", text, {{"tele", PtzZoom::Tele}, {"wide", PtzZoom::Wide}});
    });
    take("focus", [](std::string_view text) {
        return word<PtzFocus>("focus", text, {{"far", PtzFocus::Far}, {"near", PtzFocus::Near}});
    });
    take("auto", [](std::string_view text) {
        return word<PtzAuto>("auto", text, {{"pan", PtzAuto::Pan}, {"stop", PtzAuto::Stop}});
    });
    take("video", [&](std::string_view text) {
        number("video", text, 0, 0);
        return centre(pairs);
    });
    take("cam", [&](std::string_view text) -> decltype(command.action) {
        const std::string name(required(pairs, "name"));
        if (word<bool>("cam", text, {{"preset", true}, {"clearpreset", false}}))
            return PtzKeep{name};
        return PtzForget{name};
    });
    take("recall", [](std::string_view text) { return PtzRecall{std::string(text)}; });

    const bool anySpeed = command.panSpeed || command.tiltSpeed || command.zoomSpeed;
    if (actions > 1 || (actions == 0 && !anySpeed))
        refuse(actions > 1 ? "more than one thing to do" : "nothing to do", line);
    return command;
}

} // namespace camera
