#include "daemon/notify/notify_stream.h"

#include "daemon/base/clock.h"
#include "daemon/configer/reply.h"
#include "daemon/session/globals.h"
#include "platform/log.h"

#include <algorithm>
#include <cerrno>

namespace
{

/** A window that falls silent for less is still the same motion. */
constexpr uint32_t MOTION_OFF_MS = 1500;
constexpr uint32_t KEEP_ALIVE_MS = 25000;

constexpr ReadRow<NotifyState> COUNTS[] = {
    ReadInt<&NotifyState::iDINum>("capability_ndi"),
    ReadInt<&NotifyState::iMotionNum>("capability_nmotion"),
};

/** Says which count the store's reply does not give first; `iErrno` is that of reading it. */
void SayWhatIsMissing(std::string_view reply, int iErrno)
{
    int32_t iUnused = 0;
    for (const ReadRow<NotifyState> &row : COUNTS)
        if (Get_Configer_INT_Value(reply, row.LookedUp(), iUnused) != 0) {
            Configer_StartFail(row.Key(), reply.empty() ? iErrno : 0);
            return;
        }
}

/** Says "on" once when a window becomes active, "off" once it has stayed inactive long enough. */
void WriteMotionLines(TextBuilder &body, const NotifyState &state, NotifyStreamResult &stream)
{
    for (int32_t i = 0; i < std::min(state.iMotionNum, NOTIFY_MAX_MOTIONS); ++i) {
        int32_t &iReported = stream.aiMotionReported[i];
        if (state.aiMotionState[i] != 0) {
            stream.auiMotionActiveTick[i] = NetUtility_GetTickMs();
            if (iReported != 0)
                continue;
        } else if (iReported == 0 || NetUtility_IsTimeout(stream.auiMotionActiveTick[i], MOTION_OFF_MS) == 0) {
            continue;
        }
        iReported = state.aiMotionState[i];
        body.Addf("md%d=%s\r\n", i + 1, iReported != 0 ? "on" : "off");
        stream.uiLastSentTick = NetUtility_GetTickMs();
    }
}

/** Lists all inputs whenever one of them has changed. */
void WriteInputLines(TextBuilder &body, const NotifyState &state, NotifyStreamResult &stream)
{
    if (state.iInputChangedFlag == 0)
        return;
    for (int32_t i = 0; i < std::min(state.iDINum, NOTIFY_MAX_INPUTS); ++i)
        body.Addf("input%d=%s\r\n", i + 1, state.aiInputState[i] != 0 ? "on" : "off");
    stream.uiLastSentTick = NetUtility_GetTickMs();
}

} // namespace

int NotifyStream_Initial(NotifyState &state)
{
    state = {};
    ConfigerReply<1024> reply(__func__);
    reply.Read(COUNTS, state);
    if (reply.Failed()) {
        SayWhatIsMissing(reply.View(), errno);
        Trace("[%s]NotifyStream Initial failed!\n", __func__);
        return -1;
    }
    Trace("[%s]iDINum %d, iMotionNum %d\n", __func__, state.iDINum, state.iMotionNum);
    return 0;
}

int MappingGetRoutine_NotifyStream(SessionSlot &slot)
{
    return Session_Succeed(slot);
}

uint32_t NotifyStream_DueMs(SessionSlot &slot)
{
    const NotifyState &state = g_tServerGlobals.tNotifyState;
    const auto &stream = Session_Result<NotifyStreamResult>(slot);
    uint32_t uiDueMs = NetUtility_RemainingMs(stream.uiLastSentTick, KEEP_ALIVE_MS);
    for (int32_t i = 0; i < std::min(state.iMotionNum, NOTIFY_MAX_MOTIONS); ++i)
        if (state.aiMotionState[i] == 0 && stream.aiMotionReported[i] != 0)
            uiDueMs = std::min(uiDueMs, NetUtility_RemainingMs(stream.auiMotionActiveTick[i], MOTION_OFF_MS));
    return uiDueMs;
}

void NotifyStream_BeforeEvent(SessionSlot &slot)
{
    const NotifyState &state = g_tServerGlobals.tNotifyState;
    auto &stream = Session_Result<NotifyStreamResult>(slot);
    for (int32_t i = 0; i < std::min(state.iMotionNum, NOTIFY_MAX_MOTIONS); ++i)
        if (state.aiMotionState[i] != 0)
            stream.auiMotionActiveTick[i] = NetUtility_GetTickMs();
}

void Compose_NotifyStream(TextBuilder &body, SessionSlot &slot)
{
    const NotifyState &state = g_tServerGlobals.tNotifyState;
    auto &stream = Session_Result<NotifyStreamResult>(slot);
    if (stream.uiLastSentTick == 0)
        stream.uiLastSentTick = NetUtility_GetTickMs();
    WriteMotionLines(body, state, stream);
    WriteInputLines(body, state, stream);
    if (NetUtility_IsTimeout(stream.uiLastSentTick, KEEP_ALIVE_MS) != 0) {
        body.Clear();
        body.Add("keep_alive\r\n");
        stream.uiLastSentTick = NetUtility_GetTickMs();
    }
}
