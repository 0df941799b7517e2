#include "daemon/families/system/date_time.h"

#include "daemon/base/clock.h"
#include "daemon/base/text_finder.h"
#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/families/system/time_zone.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

#include <ctime>

namespace
{

enum Given : uint32_t { GIVEN_DATE = 0x1, GIVEN_TIME_ZONE = 0x2, GIVEN_DST = 0x4, GIVEN_TIME_SERVER = 0x8 };

constexpr int32_t METHOD_NTP = 1;
constexpr int32_t METHOD_MANUAL = 2;
constexpr int32_t NTP_INTERVAL_S = 3600;
constexpr uint32_t SETTLE_MS = 2000;

/** A date or time as a request writes it, at most 14 characters. */
using DateText = char[15];

/** Converts the pieces between the separators; a field whose piece is missing is left alone. */
void SplitNumbers(std::string_view text, char cSeparator, std::initializer_list<int32_t *> fields)
{
    for (int32_t *piField : fields) {
        const size_t end = text.find(cSeparator);
        *piField = Text_ToInt({text.data(), end == std::string_view::npos ? text.size() : end});
        if (end == std::string_view::npos)
            return;
        text.remove_prefix(end + 1);
    }
}

/** KEPT: hour 24, minute 60 and second 60 pass, and so does a day that its month does not have. */
bool IsValidClock(const DateTimeParam &param)
{
    return IsWithin(param.iMonth, 1, 12) && IsWithin(param.iDay, 1, 31) && IsWithin(param.iHour, 0, 24) &&
           IsWithin(param.iMinute, 0, 60) && IsWithin(param.iSecond, 0, 60);
}

bool TakeManualClock(std::string_view text, DateTimeParam &param)
{
    DateText acDate;
    DateText acTime;
    if (GetStringValueFromText(text, "date=", acDate) != 0)
        return false;
    SplitNumbers(acDate, '-', {&param.iYear, &param.iMonth, &param.iDay});
    if (GetStringValueFromText(text, "time=", acTime) != 0)
        return false;
    SplitNumbers(acTime, ':', {&param.iHour, &param.iMinute, &param.iSecond});
    if (!IsValidClock(param)) {
        Trace("The parameter in CurrentLocalTime is invalid\r");
        return false;
    }
    param.uiSetMask |= GIVEN_DATE;
    return true;
}

bool TakeTimeServer(std::string_view text, DateTimeParam &param)
{
    param.iMethod = METHOD_NTP;
    if (GetStringValueFromText(text, "timeserver=", param.acTimeServer) != 0 || param.acTimeServer[0] == '\0')
        return false;
    param.uiSetMask |= GIVEN_TIME_SERVER;
    return true;
}

constexpr KeyRow<DateTimeParam> COMMON_KEYS[] = {
    KeyInt<&DateTimeParam::iTimeZone>("timezone=", GIVEN_TIME_ZONE, TIME_ZONE_FIRST, TIME_ZONE_LAST),
    KeyWord<&DateTimeParam::iDSTEnable>("dstenable=", GIVEN_DST, "yes", "no"),
};
static_assert(KeyBitsAreDistinct(COMMON_KEYS));

/** Any other method than the two passes, without date, time or server. */
bool TakeKeys(std::string_view text, DateTimeParam &param)
{
    int32_t iMethod = 0;
    if (GetIntValueFromText(text, "method=", iMethod) != 0)
        return false;
    if (iMethod == METHOD_MANUAL && !TakeManualClock(text, param))
        return false;
    if (iMethod == METHOD_NTP && !TakeTimeServer(text, param))
        return false;
    return Request_TakeKeys(text, COMMON_KEYS, param) == 0;
}

int WriteTimeZone(const DateTimeParam &param)
{
    PairBuffer<64> pairs(param.uiSetMask);
    pairs.AddGiven(GIVEN_TIME_ZONE, "system_timezoneindex=%d", TimeZone_ToStore(param.iTimeZone));
    char acReply[1024];
    // KEPT: without a zone the write is empty, and made all the same.
    return Set_Configer_Parameter(acReply, pairs.View());
}

/** KEPT: whatever does not choose NTP switches NTP off, even a change of the zone alone. */
int WriteClock(const DateTimeParam &param)
{
    const bool ntp = param.iMethod != 0;
    const int32_t iInterval = ntp ? NTP_INTERVAL_S : 0;
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.Addf("system_updateinterval=%d", iInterval);
    if (ntp)
        pairs.AddGiven(GIVEN_TIME_SERVER, "&system_ntp=%s", param.acTimeServer);
    if (!ntp)
        pairs.AddGiven(GIVEN_DATE, "&system_date=%d/%02d/%02d&system_time=%02d:%02d:%02d", param.iYear,
                       param.iMonth, param.iDay, param.iHour, param.iMinute, param.iSecond);
    pairs.AddGiven(GIVEN_DST, "&system_daylight_enable=%d", param.iDSTEnable);

    char acReply[1024];
    int32_t iStored = 0;
    if (Set_Configer_Parameter(acReply, pairs.View()) != 0 ||
        Get_Configer_INT_Value(acReply, "system_updateinterval=", iStored) != 0)
        return -1;
    return iStored == iInterval ? 0 : -1;
}

void ReadLocalClock(DateTimeResult &result)
{
    const time_t now = time(nullptr);
    tm tLocal;
    tzset(); // localtime_r(3) alone stays in the zone of its first call, and requests change the zone
    localtime_r(&now, &tLocal);
    result.iYear = tLocal.tm_year + 1900;
    result.iMonth = tLocal.tm_mon + 1;
    result.iDay = tLocal.tm_mday;
    result.iHour = tLocal.tm_hour;
    result.iMinute = tLocal.tm_min;
    result.iSecond = tLocal.tm_sec;
}

using Result = DateTimeResult;

constexpr ReadRow<Result> INTERVAL[] = {ReadInt<&Result::iMethod>("system_updateinterval")};
constexpr ReadRow<Result> TIME_SERVER[] = {ReadText<&Result::acTimeServer>("system_ntp")};

/** Logs what could not be read, in the GET routine's name, and ends it. */
int FailRead(SessionSlot &slot, const char *pcCaller, const char *pcMessage)
{
    Log_Crit("[%s]%s\n", pcCaller, pcMessage);
    return Session_Fail(slot, StatusKind::InternalError);
}

} // namespace

int Parser_DateTime_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::DateTime, __func__, text) != 0)
        return -1;
    if (!TakeKeys(text, Session_Param<DateTimeParam>(slot)))
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_DateTime(SessionSlot &slot)
{
    const auto &param = Session_Param<DateTimeParam>(slot);
    if (WriteTimeZone(param) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    NetUtility_SleepMs(SETTLE_MS);
    return WriteClock(param) == 0 ? Session_Succeed(slot) : Session_Fail(slot, StatusKind::InternalError);
}

int MappingGetRoutine_DateTime(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    ConfigerReply<1024> reply(__func__);
    reply.Ask(NO_PARTS, INTERVAL, TIME_SERVER);
    reply.Take(INTERVAL, result);
    result.iMethod = result.iMethod != 0 ? METHOD_NTP : 0;
    if (result.iMethod == METHOD_NTP)
        reply.Take(TIME_SERVER, result);
    if (reply.Failed())
        return FailRead(slot, __func__, "Get NTP information failed");

    ReadLocalClock(result);
    int32_t iZone = 0;
    reply.ReadInt("system_timezoneindex", iZone);
    if (reply.Failed())
        return FailRead(slot, __func__, "Get TimeZone information failed");
    result.iTimeZone = TimeZone_FromStore(iZone);

    reply.ReadBool("system_daylight_enable", result.iDSTEnable);
    if (reply.Failed())
        return FailRead(slot, __func__, "Get daylight information failed");
    return Session_Succeed(slot);
}

/** KEPT: a clock set by hand is reported as method 0, while a change asks for it with 2. */
void Compose_DateTime(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<DateTimeResult>(slot);
    body.Line("method=", result.iMethod);
    body.Line("timeserver=", result.acTimeServer);
    body.Line("timezone=", result.iTimeZone);
    body.Addf("date=%d-%02d-%02d\r\n", result.iYear, result.iMonth, result.iDay);
    body.Addf("time=%02d:%02d:%02d\r\n", result.iHour, result.iMinute, result.iSecond);
    body.LineYesNo("dstenable=", result.iDSTEnable == 1);
}
