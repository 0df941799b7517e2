#pragma once

#include <cstdint>

/** The delay between a change that asks for a network restart and the restart: the reply has to go out first. */
inline constexpr uint32_t NETWORK_RESTART_DELAY_MS = 10000;

/** Marks a network restart as pending; the main loop carries it out NETWORK_RESTART_DELAY_MS later. */
void NetUtility_RequestNetworkRestart();

/** Asks the camera, through the store, to restart its network now. Returns 0, or -1 when the store refuses. */
[[nodiscard]] int NetUtility_RestartNetwork();
