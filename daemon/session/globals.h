#pragma once

#include "daemon/session/audio_upstream_context.h"
#include "daemon/session/notify_state.h"
#include "platform/account.h"

#include <csignal>
#include <cstdint>

/** What the whole process shares. Only the main thread uses it, but for the flag of a signal and what audio/ says.
 */
struct ServerGlobals {
    volatile sig_atomic_t iReloadPassword; ///< set by SIGUSR1
    int32_t iNetworkRestart;               ///< 1 = a network restart is pending
    uint32_t uiNetworkRestartTick;         ///< NetUtility_GetTickMs when it was asked for
    NotifyState tNotifyState;
    AM_Context tAccountContext;
    AudioUpstreamContext tAudioUpstream;
};
extern ServerGlobals g_tServerGlobals;
