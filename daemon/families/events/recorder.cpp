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

using Record = RecorderRecord;

constexpr std::string_view FIXED_PAIRS =
    "event_i0_name=kelpa_recorder&event_i0_action_do_i0_enable=0&event_i0_action_goto_enable=0&"
    "event_i0_action_cf_media=0&event_i0_action_server_i0_media=0&event_i0_action_server_i1_enable=0&"
    "event_i0_action_server_i2_enable=0&event_i0_action_server_i3_enable=0&event_i0_action_server_i4_enable=0&"
    "event_i0_action_patrol_enable=0&recording_i0_name=kelpa_recorder&recording_i0_trigger=schedule&"
    "server_i0_name=kelpa_nas&server_i0_type=ns&server_i0_ns_workgroup=workgroup&media_i0_name=kelpa_recorder&"
    "media_i0_type=videoclip&media_i0_videoclip_maxsize=4096&";

constexpr KeyRow<Record> CLIP_KEYS[] = {
    KeyInt<&Record::iEnable>("enable=", GIVEN_ENABLE, 0, 1),
    // Any number passes here: how many streams there are is asked when it is written.
    KeyInt<&Record::iProfileID>("profileID=", GIVEN_PROFILE, INT32_MIN, INT32_MAX),
    KeyInt<&Record::iPreRecord>("prerecord=", GIVEN_PRE_RECORD, 0, 15),
    KeyInt<&Record::iPostRecord>("postrecord=", GIVEN_POST_RECORD, 0, 15),
};

constexpr KeyRow<Record> ACCOUNT_KEYS[] = {
    KeyInt<&Record::iAnonymous>("anonymous=", GIVEN_ANONYMOUS, 0, 1),
    KeyText<&Record::acUser>("user=", GIVEN_USER),
    KeyText<&Record::acPassword>("password=", GIVEN_PASSWORD),
    KeyText<&Record::acServer>("server=", GIVEN_SERVER),
    KeyText<&Record::acShareFolder>("shareFolder=", GIVEN_SHARE_FOLDER),
};

constexpr KeyRow<Record> FILE_KEYS[] = {
    KeyInt<&Record::iKeepSpace>("keepSpace=", GIVEN_KEEP_SPACE, 0, 999999),
    KeyInt<&Record::iFileLenMin>("fileLenMin=", GIVEN_FILE_LEN, 1, 30),
    KeyInt<&Record::iRecycle>("recycle=", GIVEN_RECYCLE, 0, 1),
};
static_assert(KeyBitsAreDistinct(CLIP_KEYS, ACCOUNT_KEYS, FILE_KEYS));

bool TakeTargets(std::string_view text, Record &param)
{
    return Request_TakeInt(text, "toUSB=", 0, 1, param.iToUSB) == KeyOutcome::Taken &&
           Request_TakeInt(text, "toSamba=", 0, 1, param.iToSamba) == KeyOutcome::Taken &&
           !(param.iToUSB == 1 && param.iToSamba == 1);
}

bool TakeKeys(std::string_view text, Record &param)
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

/* Each of the next appends its part of what is written. Those that may fail return Ok or the mapping result. */

StatusKind AddClipPairs(PairBuilder &pairs, const Record &param)
{
    if (pairs.Given(GIVEN_ENABLE))
        pairs.Add(param.iEnable == 1 ? "event_i0_enable=1&" : "event_i0_enable=0&recording_i0_enable=0&");
    if (pairs.Given(GIVEN_PROFILE)) {
        int32_t iStreamCount = 0;
        ConfigerReply<1024> reply("MappingSetRoutine_Recorder");
        reply.Get({"capability_nmediastream&"});
        reply.Int("capability_nmediastream=", iStreamCount);
        if (reply.Failed())
            return StatusKind::UpdateFailed;
        if (param.iProfileID < 1 || param.iProfileID > iStreamCount)
            return StatusKind::InvalidParameter;
        pairs.Addf("media_i0_videoclip_source=%1$d&recording_i0_source=%1$d&", param.iProfileID - 1);
    }
    pairs.AddGiven(GIVEN_PRE_RECORD, "media_i0_videoclip_preevent=%d&", param.iPreRecord);
    // The clip's whole length.
    pairs.AddGiven(GIVEN_POST_RECORD, "media_i0_videoclip_maxduration=%d&", param.iPreRecord + param.iPostRecord);
    return StatusKind::Ok;
}

/** With a trigger the event slot records and the recording slot is off; without one it is the other way round. */
StatusKind AddTriggerPairs(PairBuilder &pairs, const Record &param)
{
    Trigger_AddPairs(pairs, EVENT_SLOT, param.tTrigger, "");
    if (Trigger_Any(param.tTrigger)) {
        pairs.Add("recording_i0_enable=0&");
        return StatusKind::Ok;
    }
    int32_t iEnable = param.iEnable;
    if (!pairs.Given(GIVEN_ENABLE)) {
        ConfigerReply<1024> reply("MappingSetRoutine_Recorder");
        reply.Get({"event_i0_enable&"});
        reply.Bool("event_i0_enable=", iEnable);
        if (reply.Failed())
            return StatusKind::UpdateFailed;
    }
    if (iEnable == 1)
        pairs.Add("recording_i0_enable=1&");
    return StatusKind::Ok;
}

void AddTargetPairs(PairBuilder &pairs, const Record &param)
{
    pairs.Addf("event_i0_action_cf_enable=%d&event_i0_action_server_i0_enable=%d&", param.iToUSB, param.iToSamba);
    const char *pcDestination = param.iToUSB == 1 ? "cf" : param.iToSamba == 1 ? "0" : "";
    pairs.Addf("recording_i0_dest=%s&", pcDestination);
}

void AddAccountPairs(PairBuilder &pairs, const Record &param)
{
    if (pairs.Given(GIVEN_ANONYMOUS) && param.iAnonymous == 1) {
        pairs.Add("server_i0_ns_username=anonymous&server_i0_ns_passwd=&");
        return;
    }
    pairs.AddGiven(GIVEN_USER, "server_i0_ns_username=%s&", param.acUser);
    pairs.AddGiven(GIVEN_PASSWORD, "server_i0_ns_passwd=%s&", param.acPassword);
}

/** The event slot and the recording slot always get the same schedule. */
int AddSchedulePairs(PairBuilder &pairs, const Record &param)
{
    StoredSchedule stored;
    bool changes = false;
    if (Schedule_ToStore(param.tSchedule, pairs.Given(GIVEN_ITEMS), stored, changes) != 0)
        return -1;
    if (changes)
        pairs.Addf("event_i0_weekday=%1$d&event_i0_begintime=%2$s&event_i0_endtime=%3$s&"
                   "recording_i0_weekday=%1$d&recording_i0_begintime=%2$s&recording_i0_endtime=%3$s&",
                   stored.iWeekdays, stored.acBegin, stored.acEnd);
    return 0;
}

void AddFilePairs(PairBuilder &pairs, const Record &param)
{
    pairs.AddGiven(GIVEN_KEEP_SPACE, "recording_i0_limitsize=1&recording_i0_reserveamount=%d&", param.iKeepSpace);
    pairs.AddGiven(GIVEN_FILE_LEN, "recording_i0_duration=%d&", param.iFileLenMin * SECONDS_PER_MINUTE);
    pairs.AddGiven(GIVEN_RECYCLE, "recording_i0_cyclic=%1$d&disk_i0_cyclic_enabled=%1$d&", param.iRecycle);
}

StatusKind AddPairs(PairBuilder &pairs, const Record &param)
{
    pairs.Add(FIXED_PAIRS);
    StatusKind result = AddClipPairs(pairs, param);
    if (result == StatusKind::Ok)
        result = AddTriggerPairs(pairs, param);
    if (result != StatusKind::Ok)
        return result;
    AddTargetPairs(pairs, param);
    AddAccountPairs(pairs, param);
    if (AddSchedulePairs(pairs, param) != 0)
        return StatusKind::InvalidParameter;
    AddFilePairs(pairs, param);
    return StatusKind::Ok;
}

void ReadShare(ConfigerReader &reply, Record &result)
{
    char acLocation[64] = {};
    reply.Text("server_i0_ns_username=", result.acUser);
    reply.Text("server_i0_ns_passwd=", result.acPassword);
    reply.Text("server_i0_ns_location=", acLocation);
    GetServerFromUNC(acLocation, result.acServer);
    GetShareFromUNC(acLocation, result.acShareFolder);
    const bool anonymous = std::string_view(result.acUser).starts_with("anonymous") && result.acPassword[0] == '\0';
    result.iAnonymous = anonymous ? 1 : 0;
}

void ReadFiles(ConfigerReader &reply, Record &result)
{
    int32_t iLimited = 0;
    int32_t iDuration = 0;
    reply.Bool("recording_i0_limitsize=", iLimited);
    if (iLimited == 1)
        reply.Int("recording_i0_reserveamount=", result.iKeepSpace);
    reply.Int("recording_i0_duration=", iDuration);
    reply.Bool("recording_i0_cyclic=", result.iRecycle);
    result.iFileLenMin = iDuration / SECONDS_PER_MINUTE;
}

} // namespace

int Parser_Recorder_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Recorder, __func__, text, StatusKind::InvalidParameter) != 0)
        return -1;
    if (!TakeKeys(text, Session_Param<Record>(slot)))
        return Session_Refuse(slot, StatusKind::InvalidParameter);
    return Session_Accept(slot);
}

int MappingSetRoutine_Recorder(SessionSlot &slot)
{
    const auto &param = Session_Param<Record>(slot);
    PairBuffer<2048> pairs(param.uiSetMask);
    if (const StatusKind result = AddPairs(pairs, param); result != StatusKind::Ok)
        return Session_Fail(slot, result);
    if (Session_WritePairs(slot, pairs, StatusKind::UpdateFailed) != 0)
        return -1;
    if (pairs.Given(GIVEN_SERVER | GIVEN_SHARE_FOLDER) &&
        Recorder_SetShareLocation(pairs.Given(GIVEN_SERVER) ? param.acServer : nullptr,
                                  pairs.Given(GIVEN_SHARE_FOLDER) ? param.acShareFolder : nullptr) != 0)
        return Session_Fail(slot, StatusKind::UpdateFailed);
    if (pairs.Given(GIVEN_PRE_RECORD | GIVEN_POST_RECORD))
        (void)Program_Run("/usr/bin/gen_task", "-e");
    return Session_Succeed(slot);
}

int MappingGetRoutine_Recorder(SessionSlot &slot)
{
    auto &result = Session_Result<Record>(slot);
    int32_t iSource = 0;
    int32_t iClipLength = 0;
    ConfigerReply<1024> reply(__func__);
    reply.Get({"event_i0_enable&event_i0_weekday&event_i0_begintime&event_i0_endtime&event_i0_trigger&event_i0_di&"
               "event_i0_action_cf_enable&event_i0_action_server_i0_enable&media_i0_videoclip_source&"
               "media_i0_videoclip_preevent&media_i0_videoclip_maxduration&server_i0_ns_username&"
               "server_i0_ns_passwd&server_i0_ns_location&recording_i0_limitsize&recording_i0_reserveamount&"
               "recording_i0_duration&recording_i0_cyclic&"});
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::ServiceUnavailable);
    reply.Bool("event_i0_enable=", result.iEnable);
    reply.Int("media_i0_videoclip_source=", iSource);
    reply.Int("media_i0_videoclip_preevent=", result.iPreRecord);
    reply.Int("media_i0_videoclip_maxduration=", iClipLength);
    reply.Bool("event_i0_action_cf_enable=", result.iToUSB);
    reply.Bool("event_i0_action_server_i0_enable=", result.iToSamba);
    Trigger_Read(reply, EVENT_SLOT, result.tTrigger);
    ReadShare(reply, result);
    Schedule_Read(reply, EVENT_SLOT, result.tSchedule);
    ReadFiles(reply, result);
    result.iProfileID = iSource + 1;
    result.iPostRecord = iClipLength - result.iPreRecord;
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_Recorder(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Record>(slot);
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
