#include "daemon/families/events/snapshot.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

/** Trigger, targets and mode must always be given. */
enum Given : uint32_t {
    GIVEN_ENABLE = 1U << 0,
    GIVEN_TARGETS = 1U << 1,
    GIVEN_TRIGGER = 1U << 2,
    GIVEN_ITEMS = 1U << 3,
    GIVEN_MODE = 1U << 4,
    GIVEN_FTP_ENABLE = 1U << 5,
    GIVEN_FTP_USER = 1U << 6,
    GIVEN_FTP_PASS = 1U << 7,
    GIVEN_PASSIVE = 1U << 8,
    GIVEN_FTP_SERVER = 1U << 9,
    GIVEN_FTP_PORT = 1U << 10,
    GIVEN_FOLDER = 1U << 11,
    GIVEN_FIX_FILE = 1U << 12,
    GIVEN_FTP_INTERVAL = 1U << 13,
    GIVEN_SMTP_ENABLE = 1U << 14,
    GIVEN_SMTP_USER = 1U << 15,
    GIVEN_SMTP_PASS = 1U << 16,
    GIVEN_SMTP_SERVER = 1U << 17,
    GIVEN_SMTP_PORT = 1U << 18,
    GIVEN_SENDER = 1U << 19,
    GIVEN_RECEIVER = 1U << 20,
};

constexpr int32_t EVENT_SLOT = 1;
constexpr int32_t MAX_INTERVAL_S = 86400;
constexpr int32_t SECONDS_PER_MINUTE = 60;

using Param = SnapshotParam;
using Result = SnapshotResult;

/** Event slot 1, servers 1 and 2 and media 1 and 2 are always claimed. */
constexpr std::string_view FIXED_PAIRS =
    "event_i1_name=kelpa_snapshot&event_i1_action_cf_backup=0&event_i1_action_do_i0_enable=0&"
    "event_i1_action_goto_enable=0&event_i1_action_server_i0_enable=0&event_i1_action_server_i1_media=1&"
    "event_i1_action_server_i2_media=2&event_i1_action_server_i3_enable=0&event_i1_action_server_i4_enable=0&"
    "event_i1_action_patrol_enable=0&server_i1_name=kelpa_smtp&server_i2_name=kelpa_ftp&"
    "media_i1_name=kelpa_snapshot_smtp&media_i1_type=snapshot&media_i1_snapshot_datesuffix=1&"
    "media_i2_name=kelpa_snapshot_ftp&media_i2_type=snapshot&media_i2_snapshot_datesuffix=1&";

constexpr KeyRow<Param> SERVER_KEYS[] = {
    KeyInt<&Param::iSmtpEnable1>("smtpEnable1=", GIVEN_SMTP_ENABLE, 0, 1),
    KeyInt<&Param::iSmtpPort1>("smtpPort1=", GIVEN_SMTP_PORT, 1, 65535),
    KeyText<&Param::acSmtpUser1>("smtpUser1=", GIVEN_SMTP_USER),
    KeyText<&Param::acSmtpPass1>("smtpPass1=", GIVEN_SMTP_PASS),
    KeyText<&Param::acSmtpServer1>("smtpServer1=", GIVEN_SMTP_SERVER),
    KeyText<&Param::acSender1>("sender1=", GIVEN_SENDER),
    KeyText<&Param::acReceiver1>("receiver1=", GIVEN_RECEIVER),
    KeyInt<&Param::iFtpEnable1>("ftpEnable1=", GIVEN_FTP_ENABLE, 0, 1),
    KeyInt<&Param::iPassive1>("passive1=", GIVEN_PASSIVE, 0, 1),
    KeyInt<&Param::iFtpPort1>("ftpPort1=", GIVEN_FTP_PORT, 1, 65535),
    KeyInt<&Param::iFtpInterval>("ftpInterval=", GIVEN_FTP_INTERVAL, 1, MAX_INTERVAL_S),
    KeyText<&Param::acFtpUser1>("ftpUser1=", GIVEN_FTP_USER),
    KeyText<&Param::acFtpPass1>("ftpPass1=", GIVEN_FTP_PASS),
    KeyText<&Param::acFtpServer1>("ftpServer1=", GIVEN_FTP_SERVER),
    KeyText<&Param::acFolder1>("folder1=", GIVEN_FOLDER),
    KeyText<&Param::acFixFile1>("fixFile1=", GIVEN_FIX_FILE),
};

constexpr KeyRow<Param> ENABLE_KEY[] = {KeyInt<&Param::iEnable>("enable=", GIVEN_ENABLE, 0, 1)};
static_assert(KeyBitsAreDistinct(SERVER_KEYS, ENABLE_KEY));

bool TakeKeys(std::string_view text, Param &param)
{
    bool itemsGiven = false;
    if (Request_TakeKeys(text, ENABLE_KEY, param) != 0 ||
        Trigger_FromRequest(text, "byMotion=", "byIn1=", "byIn2=", param.tTrigger) != 0 ||
        Request_TakeInt(text, "toSmtp=", 0, 1, param.iToSmtp) != KeyOutcome::Taken ||
        Request_TakeInt(text, "toFTP=", 0, 1, param.iToFtp) != KeyOutcome::Taken ||
        Request_TakeKeys(text, SERVER_KEYS, param) != 0 ||
        Schedule_TakeMode(text, param.tTrigger, param.tSchedule) != 0 ||
        Schedule_TakeItems(text, param.tSchedule, itemsGiven) != 0)
        return false;
    param.uiSetMask |= GIVEN_TRIGGER | GIVEN_TARGETS | GIVEN_MODE | (itemsGiven ? GIVEN_ITEMS : 0U);
    return true;
}

void AddFtpPairs(PairBuilder &pairs, const Param &param)
{
    pairs.AddGiven(GIVEN_FTP_ENABLE, "server_i2_type=%s&", param.iFtpEnable1 == 1 ? "ftp" : "");
    pairs.AddGiven(GIVEN_FTP_USER, "server_i2_ftp_username=%s&", param.acFtpUser1);
    pairs.AddGiven(GIVEN_FTP_PASS, "server_i2_ftp_passwd=%s&", param.acFtpPass1);
    pairs.AddGiven(GIVEN_FTP_SERVER, "server_i2_ftp_address=%s&", param.acFtpServer1);
    pairs.AddGiven(GIVEN_FOLDER, "server_i2_ftp_location=%s&", param.acFolder1);
    pairs.AddGiven(GIVEN_FIX_FILE, "media_i2_snapshot_prefix=%s&", param.acFixFile1);
    pairs.AddGiven(GIVEN_FTP_PORT, "server_i2_ftp_port=%d&", param.iFtpPort1);
    pairs.AddGiven(GIVEN_FTP_INTERVAL, "event_i1_inter=%d&", param.iFtpInterval / SECONDS_PER_MINUTE);
    pairs.AddGiven(GIVEN_PASSIVE, "server_i2_ftp_passive=%d&", param.iPassive1);
}

void AddMailPairs(PairBuilder &pairs, const Param &param)
{
    pairs.AddGiven(GIVEN_SMTP_ENABLE, "server_i1_type=%s&", param.iSmtpEnable1 == 1 ? "email" : "");
    pairs.AddGiven(GIVEN_SMTP_USER, "server_i1_email_username=%s&", param.acSmtpUser1);
    pairs.AddGiven(GIVEN_SMTP_PASS, "server_i1_email_passwd=%s&", param.acSmtpPass1);
    pairs.AddGiven(GIVEN_SMTP_SERVER, "server_i1_email_address=%s&", param.acSmtpServer1);
    pairs.AddGiven(GIVEN_SENDER, "server_i1_email_senderemail=%s&", param.acSender1);
    pairs.AddGiven(GIVEN_RECEIVER, "server_i1_email_recipientemail=%s&", param.acReceiver1);
    pairs.AddGiven(GIVEN_SMTP_PORT, "server_i1_email_port=%d&", param.iSmtpPort1);
}

void TakeMailType(std::string_view type, Result &result)
{
    result.iSmtpEnable1 = type.starts_with("email") ? 1 : 0;
}

void TakeFtpType(std::string_view type, Result &result)
{
    result.iFtpEnable1 = type.starts_with("ftp") ? 1 : 0;
}

/** The interval in minutes. */
constexpr ReadRow<Result> SWITCH[] = {
    ReadBool<&Result::iEnable>("event_i1_enable"),
    ReadInt<&Result::iFtpInterval>("event_i1_inter"),
};
constexpr ReadRow<Result> TARGETS[] = {
    ReadBool<&Result::iToSmtp>("event_i1_action_server_i1_enable"),
    ReadBool<&Result::iToFtp>("event_i1_action_server_i2_enable"),
    ReadSpecial<TakeMailType, 63>("server_i1_type"),
    ReadText<&Result::acSmtpServer1>("server_i1_email_address"),
    ReadInt<&Result::iSmtpPort1>("server_i1_email_port"),
    ReadText<&Result::acSmtpUser1>("server_i1_email_username"),
    ReadText<&Result::acSmtpPass1>("server_i1_email_passwd"),
    ReadText<&Result::acSender1>("server_i1_email_senderemail"),
    ReadText<&Result::acReceiver1>("server_i1_email_recipientemail"),
    ReadSpecial<TakeFtpType, 63>("server_i2_type"),
    ReadText<&Result::acFtpServer1>("server_i2_ftp_address"),
    ReadText<&Result::acFtpUser1>("server_i2_ftp_username"),
    ReadText<&Result::acFtpPass1>("server_i2_ftp_passwd"),
    ReadInt<&Result::iFtpPort1>("server_i2_ftp_port"),
    ReadBool<&Result::iPassive1>("server_i2_ftp_passive"),
    ReadText<&Result::acFolder1>("server_i2_ftp_location"),
    ReadText<&Result::acFixFile1>("media_i2_snapshot_prefix"),
};

} // namespace

int Parser_Snapshot_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Snapshot, __func__, text, StatusKind::InvalidParameter) != 0)
        return -1;
    if (!TakeKeys(text, Session_Param<Param>(slot)))
        return Session_Refuse(slot, StatusKind::InvalidParameter);
    return Session_Accept(slot);
}

int MappingSetRoutine_Snapshot(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    StoredSchedule stored = {};
    bool scheduleChanges = false;
    // The store counts whole minutes.
    if ((Request_Gave(param, GIVEN_FTP_INTERVAL) && param.iFtpInterval < SECONDS_PER_MINUTE) ||
        Schedule_ToStore(param.tSchedule, Request_Gave(param, GIVEN_ITEMS), stored, scheduleChanges) != 0)
        return Session_Fail(slot, StatusKind::InvalidParameter);

    PairBuffer<MAX_SET_PAIRS + 1> pairs(param.uiSetMask);
    pairs.Add(FIXED_PAIRS);
    pairs.AddGiven(GIVEN_ENABLE, "event_i1_enable=%d&", param.iEnable);
    Trigger_AddPairs(pairs, EVENT_SLOT, param.tTrigger, "seq"); // without a trigger it is driven by time
    pairs.Addf("event_i1_action_server_i1_enable=%d&event_i1_action_server_i2_enable=%d&", param.iToSmtp,
               param.iToFtp);
    AddFtpPairs(pairs, param);
    AddMailPairs(pairs, param);
    if (scheduleChanges)
        pairs.Addf("event_i1_weekday=%d&event_i1_begintime=%s&event_i1_endtime=%s&", stored.iWeekdays,
                   stored.acBegin, stored.acEnd);
    return Session_WritePairs(slot, pairs, StatusKind::UpdateFailed);
}

int MappingGetRoutine_Snapshot(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    ConfigerReply<2048> reply(__func__);
    reply.Ask({EVENT_SLOT}, SWITCH, SCHEDULE_KEYS, TRIGGER_KEYS, TARGETS);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::ServiceUnavailable);
    // Switches first: of several missing values, theirs is the failure that is logged.
    reply.TakeBools(TARGETS, result);
    reply.Take(SWITCH, result);
    reply.Take(TARGETS, result);
    result.iFtpInterval *= SECONDS_PER_MINUTE;
    Trigger_Read(reply, EVENT_SLOT, result.tTrigger);
    Schedule_Read(reply, EVENT_SLOT, result.tSchedule);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_Snapshot(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.Add("<config>");
    body.Addf("<mail><smtpEnable1>%d</smtpEnable1>", result.iSmtpEnable1);
    body.Addf("<smtpServer1>%s</smtpServer1><smtpPort1>%d</smtpPort1>", result.acSmtpServer1, result.iSmtpPort1);
    body.Addf("<smtpUser1>%s</smtpUser1><smtpPass1>%s</smtpPass1>", result.acSmtpUser1, result.acSmtpPass1);
    body.Addf("<receiver1>%s</receiver1><sender1>%s</sender1></mail>", result.acReceiver1, result.acSender1);
    body.Addf("<ftp><ftpEnable1>%d</ftpEnable1>", result.iFtpEnable1);
    body.Addf("<ftpServer1>%s</ftpServer1><ftpPort1>%d</ftpPort1>", result.acFtpServer1, result.iFtpPort1);
    body.Addf("<ftpUser1>%s</ftpUser1><ftpPass1>%s</ftpPass1>", result.acFtpUser1, result.acFtpPass1);
    body.Addf("<folder1>%s</folder1><ftpInterval>%d</ftpInterval>", result.acFolder1, result.iFtpInterval);
    body.Addf("<passive1>%d</passive1><fixFile1>%s</fixFile1></ftp>", result.iPassive1, result.acFixFile1);
    body.Addf("<snapshot><enable>%d</enable>", result.iEnable);
    body.Addf("<continuous>%d</continuous>", result.tSchedule.iContinuous);
    Schedule_Compose(body, result.tSchedule, "Snapshot");
    Trigger_Compose(body, result.tTrigger);
    body.Addf("<snapTo><toFtp>%d</toFtp><toSmtp>%d</toSmtp></snapTo>", result.iToFtp, result.iToSmtp);
    body.Add("</snapshot></config>");
}
