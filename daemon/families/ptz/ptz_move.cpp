#include "daemon/families/ptz/ptz_move.h"

#include "daemon/base/text_finder.h"
#include "daemon/configer/reply.h"
#include "daemon/families/ptz/channel.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

namespace
{

enum GivenMove : uint32_t { GIVEN_PAN = 0x1, GIVEN_TILT = 0x2, GIVEN_ZOOM = 0x4 };
enum GivenDirection : uint32_t { GIVEN_DIRECTION = 0x1, GIVEN_SPEED = 0x2 };

constexpr int32_t MAX_STEP = 32;
constexpr int32_t STEPS_PER_PICTURE = 64;
/** The PTZ daemon's speeds begin at -4. */
constexpr int32_t SPEED_OFFSET = 5;

constexpr KeyRow<PTZMoveRelParam> MOVE_KEYS[] = {
    KeyInt<&PTZMoveRelParam::iPan>("p=", GIVEN_PAN, -MAX_STEP, MAX_STEP),
    KeyInt<&PTZMoveRelParam::iTilt>("t=", GIVEN_TILT, -MAX_STEP, MAX_STEP),
    KeyInt<&PTZMoveRelParam::iZoom>("z=", GIVEN_ZOOM, -MAX_STEP, MAX_STEP),
};
static_assert(KeyBitsAreDistinct(MOVE_KEYS));

constexpr KeyRow<RS485DoParam> DIRECTION_KEYS[] = {
    KeyInt<&RS485DoParam::iDirection>("direction=", GIVEN_DIRECTION, 0, 8),
    KeyInt<&RS485DoParam::iSpeed>("speed=", GIVEN_SPEED, 1, 10),
};
static_assert(KeyBitsAreDistinct(DIRECTION_KEYS));

/** What the directions do, and the key that carries their speed, if they take one. */
constexpr struct {
    int32_t iDirection;
    std::string_view command;
    const char *pcSpeedKey;
} DIRECTIONS[] = {
    {0, "zoom=wide", nullptr},      {1, "move=up", "&speedtilt="},   {2, "zoom=tele", nullptr},
    {3, "move=left", "&speedpan="}, {4, "move=home", nullptr},       {5, "move=right", "&speedpan="},
    {6, "focus=far", nullptr},      {7, "move=down", "&speedtilt="}, {8, "focus=near", nullptr},
};

constexpr ActWord AUTO_PAN_WORDS[] = {{"go", "auto=pan"}, {"continue", "auto=pan"}, {"stop", "auto=stop"}};

struct Resolution {
    char acWidth[8];
    char acHeight[8];
};

/** Reads the size of the picture, "640x480"; false when the store does not say. */
bool ReadResolution(const char *pcCaller, Resolution &resolution)
{
    char acValue[16] = {};
    ConfigerReply<1024> reply(pcCaller);
    reply.ReadText("videoin_c0_s0_resolution", acValue);
    const std::string_view value = acValue;
    const size_t cross = value.find('x');
    if (reply.Failed() || cross == std::string_view::npos)
        return false;
    Text_Copy(resolution.acWidth, {value.data(), cross});
    Text_Copy(resolution.acHeight, {value.data() + cross + 1, value.size() - cross - 1});
    return true;
}

/** Sends the head to the point that is so many steps off the picture's centre; up is a smaller y. */
int SendMove(const char *pcCaller, const PTZMoveRelParam &param)
{
    Resolution resolution;
    if (!ReadResolution(pcCaller, resolution))
        return -1;
    const int32_t iWidth = Text_ToInt(resolution.acWidth);
    const int32_t iHeight = Text_ToInt(resolution.acHeight);
    TextBuffer<512> command;
    command.Add("video=0");
    if (Request_Gave(param, GIVEN_PAN))
        command.Addf("&x=%d", iWidth / 2 + param.iPan * (iWidth / STEPS_PER_PICTURE));
    if (Request_Gave(param, GIVEN_TILT))
        command.Addf("&y=%d", iHeight / 2 - param.iTilt * (iHeight / STEPS_PER_PICTURE));
    command.Addf("&resolution=%1$sx%2$s&videosize=%1$sx%2$s&stretch=1", resolution.acWidth, resolution.acHeight);
    Trace("acComposeData:%s\n", command.Text());
    return PTZCtrl_SendCommand(command.View());
}

int SendZoom(int32_t iZoom)
{
    TextBuffer<32> speed;
    speed.Addf("speedzoom=%d", (iZoom > 0 ? iZoom : -iZoom) / 3 - 5);
    if (PTZCtrl_SendCommand(speed.View()) != 0)
        return -1;
    return PTZCtrl_SendCommand(iZoom > 0 ? "zoom=tele" : "zoom=wide");
}

} // namespace

int Parser_PTZMoveRel_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::PTZMoveRel, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<PTZMoveRelParam>(slot);
    if (Request_TakeKeys(text, MOVE_KEYS, param) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    // Without a step of their own pan and tilt stand for the centre: a zoom centres the head first.
    param.uiSetMask |= GIVEN_PAN | GIVEN_TILT;
    return Session_Accept(slot);
}

int MappingSetRoutine_PTZMoveRel(SessionSlot &slot)
{
    const auto &param = Session_Param<PTZMoveRelParam>(slot);
    const bool zooms = Request_Gave(param, GIVEN_ZOOM) && param.iZoom != 0;
    if (SendMove(__func__, param) != 0 || (zooms && SendZoom(param.iZoom) != 0))
        return Session_Fail(slot, StatusKind::InternalError);
    return Session_Succeed(slot);
}

int Parser_PTZHome_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::PTZHome, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<PTZHomeParam>(slot);
    if (GetStringValueFromText(text, "act=", param.acAct) != 0 || !std::string_view(param.acAct).starts_with("go"))
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_PTZHome(SessionSlot &slot)
{
    return Session_SendCommand(slot, "move=home");
}

int Parser_AutoPan_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::AutoPan, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<AutoPanParam>(slot);
    char acAct[sizeof param.acCommand];
    if (GetStringValueFromText(text, "act=", acAct) != 0 ||
        PTZ_TakeAct(acAct, AUTO_PAN_WORDS, param.acCommand) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_AutoPan(SessionSlot &slot)
{
    return Session_SendCommand(slot, Session_Param<AutoPanParam>(slot).acCommand);
}

int Parser_RS485Do_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::RS485Do, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<RS485DoParam>(slot);
    if (Request_TakeKeys(text, DIRECTION_KEYS, param) != 0 || !Request_Gave(param, GIVEN_DIRECTION))
        return Session_Refuse(slot, StatusKind::BadRequest);
    if (Request_Gave(param, GIVEN_SPEED))
        param.iSpeed -= SPEED_OFFSET;
    return Session_Accept(slot);
}

int MappingSetRoutine_RS485Do(SessionSlot &slot)
{
    const auto &param = Session_Param<RS485DoParam>(slot);
    const bool hasSpeed = Request_Gave(param, GIVEN_SPEED);
    for (const auto &direction : DIRECTIONS) {
        if (direction.iDirection != param.iDirection)
            continue;
        if (hasSpeed && direction.pcSpeedKey == nullptr)
            break;
        TextBuffer<64> command;
        command.Add(direction.command);
        if (hasSpeed)
            command.Addf("%s%d", direction.pcSpeedKey, param.iSpeed);
        return Session_SendCommand(slot, command.View());
    }
    return Session_Refuse(slot, StatusKind::BadRequest);
}
