#include "daemon/base/clock.h"
#include "daemon/base/wait.h"
#include "daemon/server/server.h"
#include "daemon/session/globals.h"
#include "platform/log.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace
{

bool IsMotion(const EventRecord &record)
{
    return (record.iType == EVENT_TYPE_MOTION || record.iType == EVENT_TYPE_MOTION_ALTERNATE) &&
           record.iIndex >= 0 && record.iIndex < NOTIFY_MAX_MOTIONS;
}

bool IsInput(const EventRecord &record)
{
    return record.iType == EVENT_TYPE_INPUT && record.iIndex >= 0 && record.iIndex < NOTIFY_MAX_INPUTS;
}

/** KEPT: only these two pairs count as a repetition; an input at rest that reports another state has "changed". */
bool RepeatsStored(int32_t iStored, int32_t iState)
{
    return (iStored == 1 && iState == EVENT_STATE_ACTIVE) || (iStored == 0 && iState == EVENT_STATE_INACTIVE);
}

void ApplyEvent(NotifyState &state, const EventRecord &record)
{
    const int32_t iActive = record.iState == EVENT_STATE_ACTIVE ? 1 : 0;
    if (IsMotion(record)) {
        state.aiMotionState[record.iIndex] = iActive;
        state.iMotionFlag = 1;
    } else if (IsInput(record) && !RepeatsStored(state.aiInputState[record.iIndex], record.iState)) {
        state.aiInputState[record.iIndex] = iActive;
        state.iInputChangedFlag = 1;
    }
}

} // namespace

int KelpaFdServer_HandleEventMsg(KelpaFdServer *ptServer)
{
    char(&acBuffer)[sizeof ptServer->acEventBuffer] = ptServer->acEventBuffer;
    const ssize_t received = recv(ptServer->iEventSocket, acBuffer, sizeof acBuffer - 1, MSG_NOSIGNAL);
    if (received < 0 && errno == EAGAIN) {
        if (!Wait_IsFair())
            NetUtility_SleepMs(AGAIN_SLEEP_MS);
        return 0;
    }
    if (received < 0) {
        Trace("[%s]recv iFdWithEeventMgr %d, errno %d\n", __func__, ptServer->iEventSocket, errno);
        return static_cast<int>(received);
    }
    acBuffer[received] = '\0';

    EventRecord atRecords[MAX_EVENTS];
    int32_t iCount = MAX_EVENTS;
    if (KelpaFdServer_ParseEventMsg(acBuffer, strlen(acBuffer), atRecords, &iCount) != 0)
        return -1;
    KelpaFdServer_TellStreams(*ptServer);
    for (int32_t i = 0; i < iCount; ++i)
        ApplyEvent(g_tServerGlobals.tNotifyState, atRecords[i]);
    return 0;
}

int KelpaFdServer_ParseEventMsg(const char *pcText, size_t length, EventRecord *ptRecords, int32_t *piCount)
{
    int32_t iType = 0;
    int32_t iHeaderLength = 0;
    int32_t iBodyLength = 0;
    if (Message_GetTypeLength(pcText, length, &iType, &iHeaderLength, &iBodyLength) != 0) {
        Trace("[%s]Unable to get data length from buffer %s\n", __func__, pcText);
        return -1;
    }
    if (iType != MESSAGE_TYPE_EVENT) {
        Trace("[%s]Incoming message %s is not an event message, skip it\n", __func__, pcText);
        return -1;
    }
    XML_ParserStruct *const parser = XML_ParserCreate(nullptr);
    const auto headerLength = static_cast<size_t>(iHeaderLength);
    const int iResult =
        Message_Parse_Event(parser, pcText + headerLength, length - headerLength, piCount, ptRecords);
    XML_ParserFree(parser);
    if (iResult != 0) {
        Trace("[%s]Unable to parse incoming event message %s\n", __func__, pcText);
        return -1;
    }
    return 0;
}
