#pragma once

#include <cstdint>

/*
 * How the main thread waits for its neighbours, and how it is woken. A signal's handler sets its flag and writes an
 * event that every wait polls, so no signal is missed between a look at the flag and the wait.
 *
 * A request to stop ends every wait: a neighbour that is being waited for gets STOP_GRACE_MS more, counted from the
 * first wait that sees the request, and one that is asked later gets what is left of it.
 */

/** Opens the event and lets the end of a child wake the waits. Returns 0 or -1 with errno. */
[[nodiscard]] int Wait_Open();
/** Closes the event and forgets the request to stop. */
void Wait_Close();
/** The event's descriptor, for a wait of one's own; -1 when it is not open. Wait_Drain makes it unready again. */
[[nodiscard]] int Wait_Descriptor();
void Wait_Drain();

/* For handlers of signals. */
void Wait_Wake();
void Wait_RequestStop();
[[nodiscard]] bool Wait_StopRequested();

inline constexpr uint32_t STOP_GRACE_MS = 500;

/**
 * Fair mode: no session and no neighbour holds up the others. Off, a session whose socket is not ready stalls the
 * loop for a moment and neighbours may take as long as they like, as clients know it of the camera.
 */
void Wait_SetFair(bool fair);
[[nodiscard]] bool Wait_IsFair();

/** A neighbour that is waited for without limit. */
inline constexpr uint32_t WAIT_FOREVER = UINT32_MAX;

/** How long a neighbour may take, counted from a tick. */
struct WaitLimit {
    uint32_t uiStartTick;
    uint32_t uiLimitMs; ///< or WAIT_FOREVER
};

/** A limit from now on. */
[[nodiscard]] WaitLimit Wait_Limit(uint32_t uiLimitMs);
/** How long a neighbour may take: `uiFairMs` from now on in fair mode, otherwise without limit. */
[[nodiscard]] WaitLimit Wait_NeighbourLimit(uint32_t uiFairMs);

/** Waits until the descriptor is ready for the events of poll(2), closed or in error. False: the limit is over. */
[[nodiscard]] bool Wait_Ready(int iDescriptor, short sEvents, const WaitLimit &limit);
/** Pauses between two attempts; a signal may cut it short. False: the limit is over, there is no time for another
 * one. */
[[nodiscard]] bool Wait_Pause(uint32_t uiMilliseconds, const WaitLimit &limit);
/** Waits for the next signal, the end of a child among them. False: the limit is over. */
[[nodiscard]] bool Wait_ForWake(const WaitLimit &limit);

/**
 * Opens a stream socket, non-blocking and close-on-exec, that is connected to a fixed path of the camera; waits
 * while the listener's queue is full. Returns the descriptor, or -1 with errno (EAGAIN: the limit is over).
 */
[[nodiscard]] int Wait_Connect(const char *pcFixedPath, const WaitLimit &limit);
