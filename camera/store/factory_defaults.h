#pragma once

#include "camera/store/store.h"

#include <vector>

namespace camera
{

/** What the settings are when the camera leaves the factory: one entry per key, all of them consistent. */
[[nodiscard]] std::vector<Setting> factoryDefaults();

/**
 * Brings a store up at power-on: missing keys get their factory default, and the keys that mirror the present
 * state of the hardware (inputs, outputs, commands) go back to theirs. Throws StoreError.
 */
void powerOn(Store &store);

} // namespace camera
