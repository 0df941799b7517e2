#include "daemon/families/system/text_setting.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

#include <string_view>

namespace
{

constexpr uint32_t GIVEN_TEXT = 0x1;

struct TextSetting {
    SetIndex eSetIndex;
    std::string_view requestKey; ///< also begins the line of the reply
    std::string_view storeKey;
};

constexpr TextSetting CAMERA_INFO = {
    SetIndex::CameraInfo,
    "name=",
    "layout_title_text",
};
constexpr TextSetting TIME_STAMP = {
    SetIndex::TimeStamp,
    "label=",
    "videoin_c0_text",
};

int Parse(SessionSlot &slot, const char *pcParser, const TextSetting &setting)
{
    std::string_view text;
    if (Parser_Begin(slot, setting.eSetIndex, pcParser, text) != 0)
        return -1;
    auto &param = Session_Param<TextSettingParam>(slot);
    if (GetStringValueFromText(text, setting.requestKey, param.acText) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    param.uiSetMask |= GIVEN_TEXT;
    return Session_Accept(slot);
}

int Read(SessionSlot &slot, const char *pcCaller, const TextSetting &setting)
{
    ConfigerReply<1024> reply(pcCaller);
    reply.ReadText(setting.storeKey, Session_Result<TextSettingResult>(slot).acText);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

int Write(SessionSlot &slot, const TextSetting &setting)
{
    const auto &param = Session_Param<TextSettingParam>(slot);
    TextBuffer<1024> pairs;
    if (Request_Gave(param, GIVEN_TEXT)) {
        pairs.Add(setting.storeKey);
        pairs.Add("=");
        pairs.Add(param.acText);
        pairs.Add("&");
    }
    return Session_WritePairs(slot, pairs, StatusKind::UpdateFailed, StatusKind::InvalidParameter);
}

void Compose(TextBuilder &body, SessionSlot &slot, const TextSetting &setting)
{
    body.Line(setting.requestKey, Session_Result<TextSettingResult>(slot).acText);
}

} // namespace

int Parser_CameraInfo_Set(SessionSlot &slot)
{
    return Parse(slot, __func__, CAMERA_INFO);
}

int MappingGetRoutine_CameraInfo(SessionSlot &slot)
{
    return Read(slot, __func__, CAMERA_INFO);
}

int MappingSetRoutine_CameraInfo(SessionSlot &slot)
{
    return Write(slot, CAMERA_INFO);
}

void Compose_CameraInfo(TextBuilder &body, SessionSlot &slot)
{
    Compose(body, slot, CAMERA_INFO);
}

int Parser_TimeStamp_Set(SessionSlot &slot)
{
    return Parse(slot, __func__, TIME_STAMP);
}

int MappingGetRoutine_TimeStamp(SessionSlot &slot)
{
    return Read(slot, __func__, TIME_STAMP);
}

int MappingSetRoutine_TimeStamp(SessionSlot &slot)
{
    return Write(slot, TIME_STAMP);
}

void Compose_TimeStamp(TextBuilder &body, SessionSlot &slot)
{
    Compose(body, slot, TIME_STAMP);
}
