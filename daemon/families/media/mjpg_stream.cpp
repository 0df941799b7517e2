#include "daemon/families/media/mjpg_stream.h"

#include "daemon/configer/reply.h"
#include "daemon/families/media/profile.h"
#include "daemon/request/request_text.h"
#include "platform/fdipc.h"
#include "platform/log.h"

namespace
{

constexpr char HAND_OVER_PATH[] = "/var/run/http/fdipc1";
constexpr std::string_view MJPEG = "mjpeg";

/** Opened on first use, kept for the life of the process. */
int g_iHandOverSocket = -1;

using Result = MjpgStreamResult;

constexpr ReadRow<Result> STREAM[] = {ReadText<&Result::acCodec>("videoin_c0_s#_codectype")};

void ReadCodecs(ConfigerReader &reply, int32_t iStreamCount)
{
    if (iStreamCount <= 0)
        return; // there is nothing to ask for
    TextBuffer<256> keys;
    for (int32_t i = 0; i < iStreamCount && !keys.Cut(); ++i)
        Read_AddKeys(keys, STREAM, {i});
    reply.AskFor(keys.View());
}

/** Takes a stream's codec; true when it is MJPEG. A stream that is not there fails the reader. */
bool IsMjpeg(ConfigerReader &reply, int32_t iStream, Result &result)
{
    reply.Take(STREAM, result, {iStream});
    return !reply.Failed() && result.acCodec == MJPEG;
}

/** Chooses the asked profile, or else the first MJPEG one. Returns whether its codec is MJPEG. */
bool ChooseProfile(ConfigerReader &reply, const SessionSlot &slot, Result &result)
{
    // KEPT: a number outside the streams is not refused as such; its codec is looked up and not found.
    if (GetIntValueFromText(slot.tRequest.acQeryString, "profileid=", result.iProfileID) == 0)
        return IsMjpeg(reply, result.iProfileID - 1, result);
    for (int32_t i = 0; i < result.iStreamCount && !reply.Failed(); ++i) {
        if (IsMjpeg(reply, i, result)) {
            result.iProfileID = i + 1;
            return true;
        }
    }
    return false;
}

/** Passes a copy of the client's socket to the web server; the session closes its own. Returns 0 or -1. */
int MjpgStream_HandOver(SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    if (g_iHandOverSocket < 0)
        g_iHandOverSocket = fdipc_client_socket(HAND_OVER_PATH);
    if (g_iHandOverSocket < 0) {
        Trace("fdipc_client_socket error\r");
        return -1;
    }
    TextBuffer<512> stream;
    if (result.iProfileID >= 1 && result.iProfileID <= result.iStreamCount)
        stream.Addf("stream%d\r\n", result.iProfileID);
    const std::string_view pieces[] = {stream.View(), "--myboundary\r\n", "kelpa\r\n", "kelpa\r\n"};
    if (fdipc_send(g_iHandOverSocket, HAND_OVER_PATH, pieces, slot.tRequest.iClientSocket) < 0) {
        Trace("fdipc_send error\r");
        return -1;
    }
    return 0;
}

} // namespace

int MappingGetRoutine_MjpgStream(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    if (Capability_GetVideoStreams(result.iStreamCount, result.iH264) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    ConfigerReply<512> reply(__func__);
    ReadCodecs(reply, result.iStreamCount);
    const bool mjpeg = !reply.Failed() && ChooseProfile(reply, slot, result);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::InternalError);
    if (!mjpeg)
        return Session_Fail(slot, StatusKind::BadRequest);
    Trace("ptVideoConfigResult->iProfileID = %d\n", result.iProfileID);
    if (MjpgStream_HandOver(slot) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    return Session_Succeed(slot);
}

void Compose_MjpgStream(TextBuilder &body, SessionSlot &)
{
    body.Add("Transfer socket to serverpush");
}
