#pragma once

#include "camera/picture/view.h"
#include "camera/store/store.h"

#include <string>
#include <string_view>
#include <vector>

namespace camera
{

/**
 * The head's presets. They are kept in the settings: "camctrl_c0_preset_i0_name" to 19, an empty name is a free
 * place, and beside each "camctrl_c0_preset_i0_position" with the three numbers.
 */
class PtzPresets
{
  public:
    struct Preset {
        std::string name;
        View view;
    };

    explicit PtzPresets(Store &store) : store_(store) {}

    /** In the order of their places. */
    [[nodiscard]] std::vector<Preset> all() const;
    /** Throws PtzError when there is none of that name. */
    [[nodiscard]] View find(std::string_view name) const;
    /** Replaces one of the same name. Throws PtzError when there is no place left or it is no name. */
    void keep(const std::string &name, const View &view);
    /** Throws PtzError when there is none of that name. */
    void forget(std::string_view name);

  private:
    [[nodiscard]] int placeOf(std::string_view name) const;

    Store &store_;
};

} // namespace camera
