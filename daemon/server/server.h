#pragma once

#include "daemon/session/session.h"
#include "platform/fdcgi.h"
#include "platform/message.h"

#include <cstddef>
#include <cstdint>

/** Sessions at one time; one connection more is told that the service is unavailable. */
inline constexpr int32_t MAX_SESSIONS = 30;
/** Events taken from one message of the event manager. */
inline constexpr int32_t MAX_EVENTS = 10;

/** The pause after a socket had nothing to give or took nothing, in which the whole loop waits. */
inline constexpr uint32_t AGAIN_SLEEP_MS = 100;

/** The server object: one allocation for the life of the process. */
struct KelpaFdServer {
    FDCGI_Handle handOver; ///< requests from the web server
    FDCGI_Handle event;    ///< messages from the event manager
    char acEventBuffer[4096];
    int32_t iEventSocket;
    int32_t iHandOverSocket;
    int32_t iRoundFailed; ///< 1: the last round ended early, so its sessions still have to be driven
    SessionSlot atSessions[MAX_SESSIONS];
};

/**
 * Opens both endpoints, reads the accounts and what the store says of inputs and audio, and starts the audio
 * upstream. Returns 0 with the server, which KelpaFdServer_Destroy releases, or -1 (Start_Fail) with everything
 * released.
 */
[[nodiscard]] int KelpaFdServer_Initial(KelpaFdServer **pptServer, const char *pcSocketPath);
/** Closes both endpoints, releases the server and the audio upstream. Sockets of busy sessions are left to exit. */
void KelpaFdServer_Destroy(KelpaFdServer *ptServer);

/**
 * One round of the main loop: waits (KelpaFdServer_Wait), takes at most one connection and one event message, gives
 * every busy session its time. Returns -1 when taking a connection or a message failed, else 0.
 */
int KelpaFdServer_Process(KelpaFdServer *ptServer);

/** What a round has to take. */
struct RoundInput {
    bool handOver;
    bool event;
};
/**
 * Waits until there is something to take or to do: for one millisecond while a session has to be driven on, else
 * without wake-ups until a socket is ready, a signal comes or the earliest deadline is reached.
 */
[[nodiscard]] RoundInput KelpaFdServer_Wait(KelpaFdServer &server);

/** Takes one handed-over connection, or refuses it politely when all slots are busy; -1 when it could not be read.
 */
[[nodiscard]] int KelpaFdServer_Accept(KelpaFdServer *ptServer);
/** Copies the request that was read last into a slot and chooses the slot's first state. */
void KelpaFdServer_Accept_FDIPC(FDCGI_Handle handle, SessionSlot &slot);

/** Takes one message from the event manager into the notify state. Returns 0, or what failed (-1 or recv's result).
 */
[[nodiscard]] int KelpaFdServer_HandleEventMsg(KelpaFdServer *ptServer);
/** Reads a message's events; `*piCount` is the room in `ptRecords` and becomes their number. Returns 0 or -1. */
[[nodiscard]] int KelpaFdServer_ParseEventMsg(const char *pcText, size_t length, EventRecord *ptRecords,
                                              int32_t *piCount);

/** Drives one session as far as it goes in this round. Returns 0. */
int KelpaFdServer_Task(KelpaFdServer *ptServer, int32_t iSlot);
/** Milliseconds until a session that waits for its socket has something to do all the same. */
[[nodiscard]] uint32_t KelpaFdServer_SessionDueMs(SessionSlot &slot);
/** Whether this round has to drive the session, or it may go on waiting for its socket. */
[[nodiscard]] bool KelpaFdServer_SessionIsDriven(const SessionSlot &slot);
/** Tells the open streams that an event is about to change what they report. */
void KelpaFdServer_TellStreams(KelpaFdServer &server);
/** Frees a slot: all zero, no socket. */
void KelpaFdServer_ResetSlot(SessionSlot &slot);

/**
 * SIGTERM, SIGINT and SIGHUP (unless it was ignored before) stop, SIGUSR1 reloads the accounts, SIGPIPE is ignored.
 * Handlers only set flags and wake the loop.
 */
void KelpaFdServer_SetupSignals();
