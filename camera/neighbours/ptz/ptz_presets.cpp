#include "camera/neighbours/ptz/ptz_presets.h"

#include "camera/base/control_characters.h"
#include "camera/neighbours/ptz/ptz_command.h"

#include <algorithm>
#include <cstdio>

namespace camera
{

namespace
{

constexpr int PLACES = 20;
/** The preset list takes a longer name for none. */
constexpr size_t MAX_PRESET_NAME = 47;
constexpr int NONE = -1;

std::string nameKey(int place)
{
    return "camctrl_c0_preset_i" + std::to_string(place) + "_name";
}

std::string positionKey(int place)
{
    return "camctrl_c0_preset_i" + std::to_string(place) + "_position";
}

std::string positionText(const View &view)
{
    char text[96];
    snprintf(text, sizeof text, "%.6f,%.6f,%.6f", view.pan, view.tilt, view.zoom);
    return text;
}

/** A name that somebody has put into the store without a position stands for home. */
View toView(const std::string &text)
{
    View view;
    if (sscanf(text.c_str(), "%lf,%lf,%lf", &view.pan, &view.tilt, &view.zoom) != 3)
        return {};
    return view;
}

} // namespace

std::vector<PtzPresets::Preset> PtzPresets::all() const
{
    std::vector<Preset> presets;
    for (int place = 0; place < PLACES; ++place)
        if (const std::string &name = store_.text(nameKey(place)); !name.empty())
            presets.push_back({name, toView(store_.text(positionKey(place)))});
    return presets;
}

int PtzPresets::placeOf(std::string_view name) const
{
    for (int place = 0; place < PLACES; ++place)
        if (store_.text(nameKey(place)) == name)
            return place;
    return NONE;
}

View PtzPresets::find(std::string_view name) const
{
    const int place = name.empty() ? NONE : placeOf(name);
    if (place == NONE)
        throw PtzError("no such preset: " + std::string(name));
    return toView(store_.text(positionKey(place)));
}

void PtzPresets::keep(const std::string &name, const View &view)
{
    if (name.empty() || name.size() > MAX_PRESET_NAME || holdsControlCharacter(name))
        throw PtzError("no name for a preset: " + name);
    int place = placeOf(name);
    if (place == NONE)
        place = placeOf("");
    if (place == NONE)
        throw PtzError("no place left for the preset " + name);
    const Setting settings[] = {{nameKey(place), name}, {positionKey(place), positionText(view)}};
    store_.set(settings);
}

void PtzPresets::forget(std::string_view name)
{
    const int place = name.empty() ? NONE : placeOf(name);
    if (place == NONE)
        throw PtzError("no such preset: " + std::string(name));
    const Setting settings[] = {{nameKey(place), ""}, {positionKey(place), ""}};
    store_.set(settings);
}

} // namespace camera
