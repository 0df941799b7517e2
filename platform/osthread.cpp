#include "platform/osthread.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace
{

pthread_key_t g_ownThreadKey;
bool g_keyCreated = false;

/** The OSThread that runs this code; null on every thread that is none. */
const OSThread *Own()
{
    return g_keyCreated ? static_cast<const OSThread *>(pthread_getspecific(g_ownThreadKey)) : nullptr;
}

void *RunEntry(void *pvThread)
{
    const auto *ptThread = static_cast<const OSThread *>(pvThread);
    if (pthread_setspecific(g_ownThreadKey, ptThread) == 0)
        ptThread->attributes.pfnEntry(ptThread->attributes.pvArgument);
    return nullptr;
}

int64_t MonotonicMs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

/** Puts the error number that a function of pthreads returned where callers look for it. */
bool Succeeded(int iError)
{
    if (iError != 0)
        errno = iError;
    return iError == 0;
}

void AddOne(int iEvent)
{
    const uint64_t ulOne = 1;
    // Fails only when the counter is full, and then the descriptor is readable already.
    [[maybe_unused]] const ssize_t written = write(iEvent, &ulOne, sizeof ulOne);
}

} // namespace

int OSThread_KeyCreate()
{
    if (!g_keyCreated)
        g_keyCreated = Succeeded(pthread_key_create(&g_ownThreadKey, nullptr));
    return g_keyCreated ? 0 : -1;
}

void OSThread_KeyDestroy()
{
    if (g_keyCreated)
        pthread_key_delete(g_ownThreadKey);
    g_keyCreated = false;
}

int OSThread_Initial(OSThread *ptThread, const OSThreadAttributes *ptAttributes)
{
    *ptThread = {};
    if (ptAttributes->pfnEntry == nullptr)
        return -1;
    ptThread->iStopEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (ptThread->iStopEvent < 0)
        return -1;
    ptThread->attributes = *ptAttributes;
    ptThread->created = true;
    return 0;
}

int OSThread_Start(OSThread *ptThread)
{
    if (!g_keyCreated)
        return -1;
    sigset_t all;
    sigset_t old;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &old);
    ptThread->started = Succeeded(pthread_create(&ptThread->thread, nullptr, RunEntry, ptThread));
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    return ptThread->started ? 0 : -1;
}

void OSThread_Release(OSThread *ptThread)
{
    if (ptThread->started) {
        AddOne(ptThread->iStopEvent);
        pthread_join(ptThread->thread, nullptr);
    }
    if (ptThread->created)
        close(ptThread->iStopEvent);
    *ptThread = {};
}

bool OSThread_StopRequested()
{
    const OSThread *ptOwn = Own();
    if (ptOwn == nullptr)
        return false;
    pollfd stop = {ptOwn->iStopEvent, POLLIN, 0};
    return poll(&stop, 1, 0) > 0;
}

OSWait OSThread_WaitReadable(int iDescriptor, uint32_t uiTimeoutMs)
{
    const OSThread *ptOwn = Own();
    // poll(2) passes over negative descriptors, so a thread without a stop event waits for the other alone.
    pollfd atWatched[] = {{ptOwn != nullptr ? ptOwn->iStopEvent : -1, POLLIN, 0}, {iDescriptor, POLLIN, 0}};
    const int64_t llDeadline = MonotonicMs() + uiTimeoutMs;
    int iReady = -1;
    do {
        const auto iLeft = static_cast<int>(std::clamp<int64_t>(llDeadline - MonotonicMs(), 0, INT_MAX));
        iReady = poll(atWatched, 2, uiTimeoutMs == OS_WAIT_FOREVER ? -1 : iLeft);
    } while (iReady < 0 && errno == EINTR);

    if (iReady < 0)
        return OSWait::Failed;
    if (iReady == 0)
        return OSWait::TimedOut;
    if (atWatched[0].revents != 0)
        return OSWait::Stopped;
    if ((atWatched[1].revents & POLLNVAL) != 0) {
        errno = EBADF;
        return OSWait::Failed;
    }
    return OSWait::Readable;
}

void OSThread_SleepMs(uint32_t uiMilliseconds)
{
    const OSThread *ptOwn = Own();
    pollfd stop = {ptOwn != nullptr ? ptOwn->iStopEvent : -1, POLLIN, 0};
    poll(&stop, 1, static_cast<int>(std::min<uint32_t>(uiMilliseconds, INT_MAX)));
}

int OSMsgQueue_Initial(OSMsgQueue *ptQueue, uint32_t uiCapacity)
{
    *ptQueue = {};
    if (uiCapacity < 1 || uiCapacity > sizeof ptQueue->aacMessages / OSMSG_SIZE)
        return -1;
    ptQueue->iArrived = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    if (ptQueue->iArrived < 0)
        return -1;
    if (const int iError = pthread_mutex_init(&ptQueue->mutex, nullptr); iError != 0) {
        close(ptQueue->iArrived);
        errno = iError;
        return -1;
    }
    ptQueue->uiCapacity = uiCapacity;
    ptQueue->created = true;
    return 0;
}

int OSMsgQueue_Send(OSMsgQueue *ptQueue, const void *pvMessage)
{
    if (!ptQueue->created)
        return -1;
    pthread_mutex_lock(&ptQueue->mutex);
    const bool room = ptQueue->uiCount < ptQueue->uiCapacity;
    if (room) {
        const uint32_t uiSlot = (ptQueue->uiFirst + ptQueue->uiCount++) % ptQueue->uiCapacity;
        memcpy(ptQueue->aacMessages[uiSlot], pvMessage, OSMSG_SIZE);
        AddOne(ptQueue->iArrived);
    }
    pthread_mutex_unlock(&ptQueue->mutex);
    return room ? 0 : -1;
}

int OSMsgQueue_Receive(OSMsgQueue *ptQueue, void *pvMessage, uint32_t uiTimeoutMs)
{
    if (!ptQueue->created || OSThread_WaitReadable(ptQueue->iArrived, uiTimeoutMs) != OSWait::Readable)
        return -1;
    pthread_mutex_lock(&ptQueue->mutex);
    // Another receiver may have been quicker since the wait.
    const bool taken = ptQueue->uiCount > 0;
    if (taken) {
        uint64_t ulOne = 0;
        [[maybe_unused]] const ssize_t got = read(ptQueue->iArrived, &ulOne, sizeof ulOne);
        memcpy(pvMessage, ptQueue->aacMessages[ptQueue->uiFirst], OSMSG_SIZE);
        ptQueue->uiFirst = (ptQueue->uiFirst + 1) % ptQueue->uiCapacity;
        ptQueue->uiCount--;
    }
    pthread_mutex_unlock(&ptQueue->mutex);
    return taken ? 0 : -1;
}

void OSMsgQueue_Release(OSMsgQueue *ptQueue)
{
    if (ptQueue->created) {
        close(ptQueue->iArrived);
        pthread_mutex_destroy(&ptQueue->mutex);
    }
    *ptQueue = {};
}
