#include "daemon/families/system/reboot.h"

#include "daemon/base/text_finder.h"
#include "daemon/configer/pairs.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

constexpr uint32_t GIVEN_GO = 0x1;
enum Given : uint32_t { GIVEN_ENABLE = 0x1, GIVEN_WEEKDAY = 0x2, GIVEN_TIME = 0x4 };

/** Reads "1,3,5": the days, single digits, with one "," between them. */
bool TakeWeekday(std::string_view value, ScheduleRebootParam &param)
{
    param.iWeekday = 0;
    for (size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (i % 2 == 1 ? c != ',' : c < '0' || c > '6')
            return false;
        if (i % 2 == 0)
            param.iWeekday |= 64 >> (c - '0');
    }
    return true;
}

/** Reads "hh:mm" with both digits each, 00:00 to 23:59. */
bool TakeTime(std::string_view value, ScheduleRebootParam &param)
{
    if (value.size() != 5 || value[2] != ':')
        return false;
    for (const size_t i : {0U, 1U, 3U, 4U})
        if (!Text_IsDigit(value[i]))
            return false;
    if (std::string_view(value.data(), 2) > "23" || std::string_view(value.data() + 3, 2) > "59")
        return false;
    Text_Copy(param.acTime, value);
    return true;
}

constexpr KeyRow<ScheduleRebootParam> KEYS[] = {
    KeyWord<&ScheduleRebootParam::iEnable>("enable=", GIVEN_ENABLE, "on", "off"),
    KeySpecial<TakeWeekday, MAX_KEY_WORD>("weekday=", GIVEN_WEEKDAY),
    KeySpecial<TakeTime, MAX_KEY_WORD>("time=", GIVEN_TIME),
};
static_assert(KeyBitsAreDistinct(KEYS));

} // namespace

int Parser_SystemReboot_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::SystemReboot, __func__, text) != 0)
        return -1;
    char acWord[4];
    if (GetStringValueFromText(text, "reboot=", acWord) != 0 || std::string_view(acWord) != "go")
        return Session_Refuse(slot, StatusKind::BadRequest);
    Session_Param<SystemRebootParam>(slot).uiSetMask |= GIVEN_GO;
    return Session_Accept(slot);
}

int MappingSetRoutine_SystemReboot(SessionSlot &slot)
{
    TextBuffer<32> pairs;
    if (Request_Gave(Session_Param<SystemRebootParam>(slot), GIVEN_GO))
        pairs.Add("system_reset=10");
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int Parser_ScheduleReboot_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::ScheduleReboot, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<ScheduleRebootParam>(slot);
    if (Request_TakeKeys(text, KEYS, param) != 0 || param.uiSetMask == 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_ScheduleReboot(SessionSlot &slot)
{
    const auto &param = Session_Param<ScheduleRebootParam>(slot);
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.Add("event_i3_priority=255&event_i3_trigger=schedulereboot&");
    pairs.AddGiven(GIVEN_ENABLE, "event_i3_enable=%d&", param.iEnable);
    pairs.AddGiven(GIVEN_WEEKDAY, "event_i3_weekday=%d&", param.iWeekday);
    pairs.AddGiven(GIVEN_TIME, "event_i3_begintime=%s&event_i3_endtime=%s&", param.acTime, param.acTime);
    return Session_WritePairs(slot, pairs, StatusKind::UpdateFailed);
}
