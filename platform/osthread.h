#pragma once

#include <cstddef>
#include <cstdint>
#include <pthread.h>

/*
 * Threads that can be stopped, and bounded message queues. All functions that can fail return 0 or -1, unless they
 * say otherwise; what opens something leaves the reason in errno.
 *
 * A thread is stopped by asking, never by cancelling: glibc's pthread_cancel loads libgcc_s at run time and aborts
 * without it, and whatever the thread held would be lost. Its entry routine returns when OSThread_StopRequested
 * says so; every wait below ends at once when the thread that waits is asked to stop.
 */

/** Prepares and drops the key by which a thread finds its own OSThread; threads live between the two. */
[[nodiscard]] int OSThread_KeyCreate();
void OSThread_KeyDestroy();

struct OSThreadAttributes {
    void (*pfnEntry)(void *pvArgument);
    void *pvArgument;
};

struct OSThread {
    OSThreadAttributes attributes;
    pthread_t thread;
    int iStopEvent; ///< eventfd(2), readable from the moment the thread has to stop
    bool created;   ///< OSThread_Initial has run
    bool started;
};

/** Prepares a thread with a copy of the attributes; nothing runs yet. OSThread_Release gives it back. */
[[nodiscard]] int OSThread_Initial(OSThread *ptThread, const OSThreadAttributes *ptAttributes);
/**
 * Starts the entry routine on a thread of its own, with every signal blocked: signals belong to the main thread.
 * The OSThread must not move from then on. Fails without OSThread_KeyCreate.
 */
[[nodiscard]] int OSThread_Start(OSThread *ptThread);
/** Asks the thread to stop and waits until it has; does nothing for one that was never created. */
void OSThread_Release(OSThread *ptThread);

/* What a running thread calls. On a thread that OSThread_Start did not start, nothing asks to stop. */

/** True once OSThread_Release waits for this thread to return. */
[[nodiscard]] bool OSThread_StopRequested();

/** A wait without limit. */
inline constexpr uint32_t OS_WAIT_FOREVER = UINT32_MAX;

enum class OSWait { Readable, TimedOut, Stopped, Failed };
/**
 * Waits until the descriptor is readable, at its end or in error (the next read tells which), for at most
 * `uiTimeoutMs` (or OS_WAIT_FOREVER) on the monotonic clock. A request to stop goes before readable data. Failed:
 * errno says why.
 */
[[nodiscard]] OSWait OSThread_WaitReadable(int iDescriptor, uint32_t uiTimeoutMs);
/** Sleeps; a signal may cut it short. */
void OSThread_SleepMs(uint32_t uiMilliseconds);

/** The size of one message. */
inline constexpr size_t OSMSG_SIZE = 8;

struct OSMsgQueue {
    pthread_mutex_t mutex;
    int iArrived; ///< eventfd(2) that counts the messages, so that one poll(2) waits for them and for the stop
    uint32_t uiCapacity;
    uint32_t uiFirst;
    uint32_t uiCount;
    bool created;
    char aacMessages[4][OSMSG_SIZE];
};

/** Creates a queue for `uiCapacity` messages (1 to 4). The queue must not move afterwards. */
[[nodiscard]] int OSMsgQueue_Initial(OSMsgQueue *ptQueue, uint32_t uiCapacity);
/** Copies a message of OSMSG_SIZE bytes into the queue; -1 when it is full or not created. Never waits for room. */
[[nodiscard]] int OSMsgQueue_Send(OSMsgQueue *ptQueue, const void *pvMessage);
/**
 * Takes the oldest message, waiting at most `uiTimeoutMs` (or OS_WAIT_FOREVER) on the monotonic clock; -1 when none
 * arrived, or the thread is asked to stop, or the queue is not created.
 */
[[nodiscard]] int OSMsgQueue_Receive(OSMsgQueue *ptQueue, void *pvMessage, uint32_t uiTimeoutMs);
/** Releases a queue that no thread uses any more; does nothing for one that was never created. */
void OSMsgQueue_Release(OSMsgQueue *ptQueue);
