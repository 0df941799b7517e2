#include "daemon/families/ptz/rs485_config.h"

#include "daemon/base/text_finder.h"
#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

namespace
{

enum Given : uint32_t {
    GIVEN_ENABLE = 0x01,
    GIVEN_PROTO = 0x02,
    GIVEN_DEV_ID = 0x04,
    GIVEN_BAUD_RATE = 0x08,
    GIVEN_DATA_BITS = 0x10,
    GIVEN_PARITY = 0x20,
    GIVEN_STOP_BITS = 0x40,
};

using Param = RS485ConfigParam;
using Result = RS485ConfigResult;

constexpr std::string_view DRIVER_KEY = "uart_ptzdrivers_i#_name";
/** Drivers that are read back at most. */
constexpr int32_t MAX_DRIVER_INDEX = 19;

/** Protocols whose name in requests and replies lacks the blank that it has in the list of drivers. */
constexpr struct {
    std::string_view requestPrefix;
    const char *pcDriver;
} SPELLINGS[] = {{"PelcoD", "Pelco D"}, {"PelcoP", "Pelco P"}};

/** The protocol that a driver's name stands for: the first match. */
constexpr struct {
    std::string_view driver;
    std::string_view proto;
} PROTOCOLS[] = {
    {"Dyna", "Dyna"}, {"Lilin", "Lilin"}, {"Pelco D", "PelcoD"}, {"Pelco P", "PelcoP"}, {"", "custom"}};

constexpr struct {
    std::string_view request; ///< also the reply's spelling
    std::string_view store;
} PARITIES[] = {{"Odd", "odd"}, {"Even", "even"}, {"None", "none"}};

/** Finds the first driver, in the store's order, whose name contains the protocol. Returns 0 or -1. */
int PTZDriver_IndexFromName(std::string_view proto, int32_t &iIndex)
{
    for (const auto &spelling : SPELLINGS)
        if (proto.starts_with(spelling.requestPrefix))
            proto = spelling.pcDriver;
    int32_t iCount = 0;
    ConfigerReply<1280> reply(__func__);
    reply.ReadInt("capability_nptzdrivers", iCount);
    if (reply.Failed() || iCount < 1)
        return -1;
    TextBuffer<640> keys;
    for (int32_t i = 0; i < iCount && !keys.Cut(); ++i)
        Read_AddKey(keys, DRIVER_KEY, {i});
    reply.AskFor(keys.View());
    for (int32_t i = 0; i < iCount; ++i) {
        char acName[48] = {};
        reply.Text(StoreKey(DRIVER_KEY, {i}), acName);
        if (reply.Failed())
            return -1;
        if (std::string_view(acName).find(proto) != std::string_view::npos) {
            iIndex = i;
            return 0;
        }
    }
    return -1;
}

bool TakeProto(std::string_view value, Param &param)
{
    return PTZDriver_IndexFromName(value, param.iProto) == 0;
}

bool TakeParity(std::string_view value, Param &param)
{
    for (const auto &parity : PARITIES) {
        if (parity.request == value) {
            Text_Copy(param.acParity, parity.store);
            return true;
        }
    }
    return false;
}

/** KEPT: the delay is fixed; a request that gives it, even as it is, is refused. */
bool RefuseDelayTime(std::string_view, Param &)
{
    return false;
}

bool IsBaudRate(int32_t iValue)
{
    for (const int32_t iAllowed : {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200})
        if (iValue == iAllowed)
            return true;
    return false;
}

constexpr KeyRow<Param> KEYS[] = {
    KeyWord<&Param::iEnable>("enable=", GIVEN_ENABLE, "yes", "no"),
    KeySpecial<TakeProto, MAX_KEY_WORD>("proto=", GIVEN_PROTO),
    KeyInt<&Param::iDevId>("devid=", GIVEN_DEV_ID, 0, 255),
    KeyInt<&Param::iBaudRate>("baudrate=", GIVEN_BAUD_RATE, IsBaudRate),
    KeyInt<&Param::iDataBits>("databits=", GIVEN_DATA_BITS, 7, 8),
    KeySpecial<TakeParity, MAX_KEY_WORD>("parity=", GIVEN_PARITY),
    KeyInt<&Param::iStopBits>("stopbits=", GIVEN_STOP_BITS, 1, 2),
    KeySpecial<RefuseDelayTime, MAX_KEY_WORD>("delaytime=", 0),
};
static_assert(KeyBitsAreDistinct(KEYS));

/** KEPT: a number that is too long to be read is refused here; elsewhere it counts as not given. */
bool HasOverlongNumber(std::string_view text)
{
    for (const KeyRule &rule : KEYS) {
        std::string_view value;
        if (rule.eKind == KeyRule::Kind::Int && Text_FindValue(text, rule.key, '&', value) == 0 &&
            value.size() > MAX_INT_TEXT)
            return true;
    }
    return false;
}

/** Reads the name of the driver and what it is called in replies. */
void ReadProto(ConfigerReader &reply, Result &result)
{
    char acName[48] = {};
    reply.ReadText(DRIVER_KEY, acName, {result.iDriver});
    for (const auto &protocol : PROTOCOLS) {
        if (std::string_view(acName).find(protocol.driver) != std::string_view::npos) {
            Text_Copy(result.acProto, protocol.proto);
            return;
        }
    }
}

void TakeStoredParity(std::string_view stored, Result &result)
{
    Text_Copy(result.acParity, "None");
    for (const auto &parity : PARITIES)
        if (stored.starts_with(parity.store))
            return Text_Copy(result.acParity, parity.request);
}

constexpr ReadRow<Result> SETTINGS[] = {
    ReadBool<&Result::iEnable>("camctrl_c0_isptz"), ReadInt<&Result::iDevId>("camctrl_c0_cameraid"),
    ReadInt<&Result::iDriver>("uart_i0_ptzdriver"), ReadInt<&Result::iBaudRate>("uart_i0_baudrate"),
    ReadInt<&Result::iDataBits>("uart_i0_databit"), ReadSpecial<TakeStoredParity, 7>("uart_i0_paritybit"),
    ReadInt<&Result::iStopBits>("uart_i0_stopbit"),
};

} // namespace

int Parser_RS485Config_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::RS485Config, __func__, text) != 0)
        return -1;
    if (HasOverlongNumber(text) || Request_TakeKeys(text, KEYS, Session_Param<Param>(slot)) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_RS485Config(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.AddGiven(GIVEN_ENABLE, "camctrl_c0_isptz=%d", param.iEnable);
    // KEPT: without the first pair the text begins with "&"; the store takes an empty pair for none.
    pairs.AddGiven(GIVEN_PROTO, "&uart_i0_ptzdriver=%d", param.iProto);
    pairs.AddGiven(GIVEN_DEV_ID, "&camctrl_c0_cameraid=%d", param.iDevId);
    pairs.AddGiven(GIVEN_BAUD_RATE, "&uart_i0_baudrate=%d", param.iBaudRate);
    pairs.AddGiven(GIVEN_DATA_BITS, "&uart_i0_databit=%d", param.iDataBits);
    pairs.AddGiven(GIVEN_PARITY, "&uart_i0_paritybit=%s", param.acParity);
    pairs.AddGiven(GIVEN_STOP_BITS, "&uart_i0_stopbit=%d", param.iStopBits);
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int MappingGetRoutine_RS485Config(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    ConfigerReply<1024> reply(__func__);
    reply.Read(SETTINGS, result);
    if (!reply.Failed() && result.iDriver > MAX_DRIVER_INDEX)
        Trace("No PTZ driver, iPTZDriver=%d\n", result.iDriver);
    else
        ReadProto(reply, result);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_RS485Config(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.LineYesNo("enable=", result.iEnable == 1);
    body.Line("proto=", result.acProto);
    body.Line("devid=", result.iDevId);
    body.Line("baudrate=", result.iBaudRate);
    body.Line("databits=", result.iDataBits);
    body.Line("parity=", result.acParity);
    body.Line("stopbits=", result.iStopBits);
    body.Line("delaytime=", 500);
}
