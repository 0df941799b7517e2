#include "daemon/families/events/alarm.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

/** The trigger must always be given. */
enum Given : uint32_t { GIVEN_ENABLE = 0x1, GIVEN_TRIGGER = 0x2 };

constexpr int32_t EVENT_SLOT = 2;

/** The rule acts all week, all day, on output 1 alone. */
constexpr std::string_view FIXED_PAIRS =
    "event_i2_name=kelpa_alarm&event_i2_weekday=127&event_i2_begintime=00:00&event_i2_endtime=24:00&"
    "event_i2_action_do_i0_enable=1&event_i2_action_goto_enable=0&event_i2_action_cf_enable=0&"
    "event_i2_action_server_i0_enable=0&event_i2_action_server_i1_enable=0&event_i2_action_server_i2_enable=0&"
    "event_i2_action_server_i3_enable=0&event_i2_action_server_i4_enable=0&event_i2_action_patrol_enable=0&";

constexpr KeyRow<AlarmParam> KEYS[] = {KeyInt<&AlarmParam::iEnable>("toOut1=", GIVEN_ENABLE, 0, 1)};
static_assert(KeyBitsAreDistinct(KEYS));

constexpr ReadRow<AlarmResult> SWITCH[] = {ReadBool<&AlarmResult::iEnable>("event_i2_enable")};

} // namespace

int Parser_Alarm_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Alarm, __func__, text, StatusKind::InvalidParameter) != 0)
        return -1;
    auto &param = Session_Param<AlarmParam>(slot);
    if (Request_TakeKeys(text, KEYS, param) != 0 ||
        Trigger_FromRequest(text, "out1ByMotion=", "out1ByIn1=", "out1ByIn2=", param.tTrigger) != 0)
        return Session_Refuse(slot, StatusKind::InvalidParameter);
    param.uiSetMask |= GIVEN_TRIGGER;
    return Session_Accept(slot);
}

int MappingSetRoutine_Alarm(SessionSlot &slot)
{
    const auto &param = Session_Param<AlarmParam>(slot);
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.Add(FIXED_PAIRS);
    pairs.AddGiven(GIVEN_ENABLE, "event_i2_enable=%d&", param.iEnable);
    Trigger_AddPairs(pairs, EVENT_SLOT, param.tTrigger, "");
    return Session_WritePairs(slot, pairs, StatusKind::UpdateFailed);
}

int MappingGetRoutine_Alarm(SessionSlot &slot)
{
    auto &result = Session_Result<AlarmResult>(slot);
    ConfigerReply<1024> reply(__func__);
    reply.Ask({EVENT_SLOT}, SWITCH, TRIGGER_KEYS);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::ServiceUnavailable);
    reply.Take(SWITCH, result);
    Trigger_Read(reply, EVENT_SLOT, result.tTrigger);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_Alarm(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<AlarmResult>(slot);
    body.Addf("<config><digitalOutput><toOut1><enable>%d</enable>", result.iEnable);
    Trigger_Compose(body, result.tTrigger);
    body.Add("</toOut1></digitalOutput></config>");
}
