#pragma once

#include "camera/options.h"

namespace camera
{

/**
 * Runs the virtual camera until SIGINT, SIGTERM or SIGHUP. Throws std::exception when it cannot be started, with a
 * text for the user; nothing is left behind then.
 */
void runCamera(const Options &options);

} // namespace camera
