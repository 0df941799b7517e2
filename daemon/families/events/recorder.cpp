#include "daemon/families/events/recorder.h"

#include "daemon/base/program.h"
#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/families/events/recorder_share.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

/** Trigger, targets and mode must always be given. */
enum Given : uint32_t {
    GIVEN_ENABLE = 1U << 0,
    GIVEN_PROFILE = 1U << 1,
    GIVEN_PRE_RECORD = 1U << 2,
    GIVEN_POST_RECORD = 1U << 3,
    GIVEN_TARGETS = 1U << 4,
    GIVEN_TRIGGER = 1U << 5,
    GIVEN_ANONYMOUS = 1U << 6,
    GIVEN_USER = 1U << 7,
    GIVEN_PASSWORD = 1U << 8,
    GIVEN_SERVER = 1U << 9,
    GIVEN_SHARE_FOLDER = 1U << 10,
    GIVEN_ITEMS = 1U << 11,
    GIVEN_KEEP_SPACE = 1U << 12,
    GIVEN_FILE_LEN = 1U << 13,
    GIVEN_RECYCLE = 1U << 14,
    GIVEN_MODE = 1U << 15,
};

constexpr int32_t EVENT_SLOT = 0;
constexpr int32_t SECONDS_PER_MINUTE = 60;

using Param = RecorderParam;
using Result = RecorderResult;

constexpr std::string_view FIXED_PAIRS =
    "event_i0_name=kelpa_recorder&event_i0_action_do_i0_enable=0&event_i0_action_goto_enable=0&"
    "event_i0_action_cf_media=0&event_i0_action_server_i0_media=0&event_i0_action_server_i1_enable=0&"
    "event_i0_action_server_i2_enable=0&event_i0_action_server_i3_enable=0&event_i0_action_server_i4_enable=0&"
    "event_i0_action_patrol_enable=0&recording_i0_name=kelpa_recorder&recording_i0_trigger=schedule&"
    "server_i0_name=kelpa_nas&server_i0_type=ns&server_i0_ns_workgroup=workgroup&media_i0_name=kelpa_recorder&"
    "media_i0_type=videoclip&media_i0_videoclip_maxsize=4096&";

constexpr KeyRow<Param> CLIP_KEYS[] = {
    KeyInt<&Param::iEnable>("enable=", GIVEN_ENABLE, 0, 1),
    // Any number passes here: how many streams there are is asked when it is written.
    KeyInt<&Param::iProfileID>("profileID=", GIVEN_PROFILE, INT32_MIN, INT32_MAX),
    KeyInt<&Param::iPreRecord>("prerecord=", GIVEN_PRE_RECORD, 0, 15),
    KeyInt<&Param::iPostRecord>("postrecord=", GIVEN_POST_RECORD, 0, 15),
};

constexpr KeyRow<Param> ACCOUNT_KEYS[] = {
    KeyInt<&Param::iAnonymous>("anonymous=", GIVEN_ANONYMOUS, 0, 1),
    KeyText<&Param::acUser>("user=", GIVEN_USER),
    KeyText<&Param::acPassword>("password=", GIVEN_PASSWORD),
    KeyText<&Param::acServer>("server=", GIVEN_SERVER),
    KeyText<&Param::acShareFolder>("shareFolder=", GIVEN_SHARE_FOLDER),
};

constexpr KeyRow<Param> FILE_KEYS[] = {
    KeyInt<&Param::iKeepSpace>("keepSpace=", GIVEN_KEEP_SPACE, 0, 999999),
    KeyInt<&Param::iFileLenMin>("fileLenMin=", GIVEN_FILE_LEN, 1, 30),
    KeyInt<&Param::iRecycle>("recycle=", GIVEN_RECYCLE, 0, 1),
};
static_assert(KeyBitsAreDistinct(CLIP_KEYS, ACCOUNT_KEYS, FILE_KEYS));

bool TakeTargets(std::string_view text, Param &param)
{
    return Request_TakeInt(text, "toUSB=", 0, 1, param.iToUSB) == KeyOutcome::Taken &&
           Request_TakeInt(text, "toSamba=", 0, 1, param.iToSamba) == KeyOutcome::Taken &&
           !(param.iToUSB == 1 && param.iToSamba == 1);
}

bool TakeKeys(std::string_view text, Param &param)
{
    bool itemsGiven = false;
    if (Request_TakeKeys(text, CLIP_KEYS, param) != 0 ||
        Trigger_FromRequest(text, "byMotion=", "byIn1=", "byIn2=", param.tTrigger) != 0 ||
        !TakeTargets(text, param) || Schedule_TakeMode(text, param.tTrigger, param.tSchedule) != 0 ||
        Request_TakeKeys(text, ACCOUNT_KEYS, param) != 0 ||
        Schedule_TakeItems(text, param.tSchedule, itemsGiven) != 0 || Request_TakeKeys(text, FILE_KEYS, param) != 0)
        return false;
    param.uiSetMask |= GIVEN_TRIGGER | GIVEN_TARGETS | GIVEN_MODE | (itemsGiven ? GIVEN_ITEMS : 0U);
    return true;
}

/** Checks the profile that is given against the camera's streams. Returns Ok, or the mapping result. */
StatusKind CheckProfile(const char *pcCaller, const Param &param)
{
    if (!Request_Gave(param, GIVEN_PROFILE))
        return StatusKind::Ok;
    int32_t iStreamCount = 0;
    ConfigerReply<1024> reply(pcCaller);
    reply.ReadInt("capability_nmediastream", iStreamCount);
    if (reply.Failed())
        return StatusKind::UpdateFailed;
    return IsWithin(param.iProfileID, 1, iStreamCount) ? StatusKind::Ok : StatusKind::InvalidParameter;
}

/** Whether recording is on, if need be by the store; it matters only without a trigger. Returns 0 or -1. */
int FindEnable(const char *pcCaller, const Param &param, int32_t &iEnable)
{
    iEnable = param.iEnable;
    if (Request_Gave(param, GIVEN_ENABLE) || Trigger_Any(param.tTrigger))
        return 0;
    ConfigerReply<1024> reply(pcCaller);
    reply.ReadBool("event_i0_enable", iEnable);
    return reply.Failed() ? -1 : 0;
}

/* Each of the next appends its part of what is written. */

void AddClipPairs(PairBuilder &pairs, const Param &param)
{
    if (Request_Gave(param, GIVEN_ENABLE))
        pairs.Add(param.iEnable == 1 ? "event_i0_enable=1&" : "event_i0_enable=0&recording_i0_enable=0&");
    pairs.AddGiven(GIVEN_PROFILE, "media_i0_videoclip_source=%1$d&recording_i0_source=%1$d&", param.iProfileID - 1);
    pairs.AddGiven(GIVEN_PRE_RECORD, "media_i0_videoclip_preevent=%d&", param.iPreRecord);
    // The clip's whole length.
    pairs.AddGiven(GIVEN_POST_RECORD, "media_i0_videoclip_maxduration=%d&", param.iPreRecord + param.iPostRecord);
}

/** With a trigger the event slot records and the recording slot is off; without one it is the other way round. */
void AddTriggerPairs(PairBuilder &pairs, const Param &param, int32_t iEnable)
{
    Trigger_AddPairs(pairs, EVENT_SLOT, param.tTrigger, "");
    if (Trigger_Any(param.tTrigger))
        pairs.Add("recording_i0_enable=0&");
    else if (iEnable == 1)
        pairs.Add("recording_i0_enable=1&");
}

void AddTargetPairs(PairBuilder &pairs, const Param &param)
{
    pairs.Addf("event_i0_action_cf_enable=%d&event_i0_action_server_i0_enable=%d&", param.iToUSB, param.iToSamba);
    const char *pcDestination = param.iToUSB == 1 ? "cf" : param.iToSamba == 1 ? "0" : "";
    pairs.Addf("recording_i0_dest=%s&", pcDestination);
}

void AddAccountPairs(PairBuilder &pairs, const Param &param)
{
    if (Request_Gave(param, GIVEN_ANONYMOUS) && param.iAnonymous == 1) {
        pairs.Add("server_i0_ns_username=anonymous&server_i0_ns_passwd=&");
        return;
    }
    pairs.AddGiven(GIVEN_USER, "server_i0_ns_username=%s&", param.acUser);
    pairs.AddGiven(GIVEN_PASSWORD, "server_i0_ns_passwd=%s&", param.acPassword);
}

/** The event slot and the recording slot always get the same schedule. */
void AddSchedulePairs(PairBuilder &pairs, const StoredSchedule &stored)
{
    pairs.Addf("event_i0_weekday=%1$d&event_i0_begintime=%2$s&event_i0_endtime=%3$s&"
               "recording_i0_weekday=%1$d&recording_i0_begintime=%2$s&recording_i0_endtime=%3$s&",
               stored.iWeekdays, stored.acBegin, stored.acEnd);
}

void AddFilePairs(PairBuilder &pairs, const Param &param)
{
    pairs.AddGiven(GIVEN_KEEP_SPACE, "recording_i0_limitsize=1&recording_i0_reserveamount=%d&", param.iKeepSpace);
    pairs.AddGiven(GIVEN_FILE_LEN, "recording_i0_duration=%d&", param.iFileLenMin * SECONDS_PER_MINUTE);
    pairs.AddGiven(GIVEN_RECYCLE, "recording_i0_cyclic=%1$d&disk_i0_cyclic_enabled=%1$d&", param.iRecycle);
}

void TakeLocation(std::string_view location, Result &result)
{
    GetServerFromUNC(location, result.acServer);
    GetShareFromUNC(location, result.acShareFolder);
}

constexpr ReadRow<Result> SWITCH[] = {ReadBool<&Result::iEnable>("event_i0_enable")};
constexpr ReadRow<Result> TARGETS[] = {
    ReadBool<&Result::iToUSB>("event_i0_action_cf_enable"),
    ReadBool<&Result::iToSamba>("event_i0_action_server_i0_enable"),
};
/** The profile as a stream, and after the event the clip's whole length. */
constexpr ReadRow<Result> CLIP[] = {
    ReadInt<&Result::iProfileID>("media_i0_videoclip_source"),
    ReadInt<&Result::iPreRecord>("media_i0_videoclip_preevent"),
    ReadInt<&Result::iPostRecord>("media_i0_videoclip_maxduration"),
};
constexpr ReadRow<Result> SHARE[] = {
    ReadText<&Result::acUser>("server_i0_ns_username"),
    ReadText<&Result::acPassword>("server_i0_ns_passwd"),
    ReadSpecial<TakeLocation, 63>("server_i0_ns_location"),
};
struct Limit {
    int32_t iSize;
};
constexpr ReadRow<Limit> LIMIT[] = {ReadBool<&Limit::iSize>("recording_i0_limitsize")};
constexpr ReadRow<Result> RESERVE[] = {ReadInt<&Result::iKeepSpace>("recording_i0_reserveamount")};
/** The length in seconds. */
constexpr ReadRow<Result> FILES[] = {
    ReadInt<&Result::iFileLenMin>("recording_i0_duration"),
    ReadBool<&Result::iRecycle>("recording_i0_cyclic"),
};

/** Turns what is stored into what is reported. */
void Convert(Result &result)
{
    result.iProfileID += 1;
    result.iPostRecord -= result.iPreRecord;
    result.iFileLenMin /= SECONDS_PER_MINUTE;
    const bool anonymous = std::string_view(result.acUser).starts_with("anonymous") && result.acPassword[0] == '\0';
    result.iAnonymous = anonymous ? 1 : 0;
}

} // namespace

int Parser_Recorder_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Recorder, __func__, text, StatusKind::InvalidParameter) != 0)
        return -1;
    if (!TakeKeys(text, Session_Param<Param>(slot)))
        return Session_Refuse(slot, StatusKind::InvalidParameter);
    return Session_Accept(slot);
}

int MappingSetRoutine_Recorder(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    int32_t iEnable = 0;
    StoredSchedule stored = {};
    bool scheduleChanges = false;
    if (const StatusKind result = CheckProfile(__func__, param); result != StatusKind::Ok)
        return Session_Fail(slot, result);
    if (FindEnable(__func__, param, iEnable) != 0)
        return Session_Fail(slot, StatusKind::UpdateFailed);
    if (Schedule_ToStore(param.tSchedule, Request_Gave(param, GIVEN_ITEMS), stored, scheduleChanges) != 0)
        return Session_Fail(slot, StatusKind::InvalidParameter);

    PairBuffer<MAX_SET_PAIRS + 1> pairs(param.uiSetMask);
    pairs.Add(FIXED_PAIRS);
    AddClipPairs(pairs, param);
    AddTriggerPairs(pairs, param, iEnable);
    AddTargetPairs(pairs, param);
    AddAccountPairs(pairs, param);
    if (scheduleChanges)
        AddSchedulePairs(pairs, stored);
    AddFilePairs(pairs, param);
    if (Session_WritePairs(slot, pairs, StatusKind::UpdateFailed) != 0)
        return -1;

    const char *pcServer = Request_Gave(param, GIVEN_SERVER) ? param.acServer : nullptr;
    const char *pcFolder = Request_Gave(param, GIVEN_SHARE_FOLDER) ? param.acShareFolder : nullptr;
    if ((pcServer != nullptr || pcFolder != nullptr) && Recorder_SetShareLocation(pcServer, pcFolder) != 0)
        return Session_Fail(slot, StatusKind::UpdateFailed);
    if (Request_Gave(param, GIVEN_PRE_RECORD | GIVEN_POST_RECORD))
        (void)Program_Run("/usr/bin/gen_task", "-e");
    return Session_Succeed(slot);
}

int MappingGetRoutine_Recorder(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    Limit limit = {};
    ConfigerReply<1024> reply(__func__);
    reply.Ask({EVENT_SLOT}, SWITCH, SCHEDULE_KEYS, TRIGGER_KEYS, TARGETS, CLIP, SHARE, LIMIT, RESERVE, FILES);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::ServiceUnavailable);
    reply.Take(SWITCH, result);
    reply.Take(CLIP, result);
    reply.Take(TARGETS, result);
    Trigger_Read(reply, EVENT_SLOT, result.tTrigger);
    reply.Take(SHARE, result);
    Schedule_Read(reply, EVENT_SLOT, result.tSchedule);
    reply.Take(LIMIT, limit);
    if (limit.iSize == 1)
        reply.Take(RESERVE, result);
    reply.Take(FILES, result);
    Convert(result);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_Recorder(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.Addf("<config><record><enable>%d</enable><profileID>%d</profileID>", result.iEnable, result.iProfileID);
    body.Addf("<continuous>%d</continuous>", result.tSchedule.iContinuous);
    body.Addf("<prerecord>%d</prerecord><postrecord>%d</postrecord>", result.iPreRecord, result.iPostRecord);
    body.Addf("<keepSpace>%d</keepSpace><fileLenMin>%d</fileLenMin>", result.iKeepSpace, result.iFileLenMin);
    body.Addf("<recycle>%d</recycle>", result.iRecycle);
    body.Addf("<recordTo><toSamba><enable>%d</enable>", result.iToSamba);
    body.Addf("<anonymous>%d</anonymous><user>%s</user>", result.iAnonymous, result.acUser);
    body.Addf("<password>%s</password><server>%s</server>", result.acPassword, result.acServer);
    body.Addf("<shareFolder>%s</shareFolder></toSamba>", result.acShareFolder);
    body.Addf("<toUSB><enable>%d</enable></toUSB></recordTo>", result.iToUSB);
    Schedule_Compose(body, result.tSchedule, "Record");
    Trigger_Compose(body, result.tTrigger);
    body.Add("</record></config>");
}
