#include "daemon/families/ptz/preset.h"

#include "daemon/configer/reply.h"
#include "daemon/families/ptz/channel.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

namespace
{

constexpr ActWord ACTIONS[] = {{"add", "cam=preset&name"}, {"del", "cam=clearpreset&name"}, {"go", "recall"}};
constexpr std::string_view NAME_KEY = "camctrl_c0_preset_i#_name";

} // namespace

int Parser_Preset_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Preset, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<PresetParam>(slot);
    char acAct[8];
    if (GetStringValueFromText(text, "name=", param.acName) != 0 ||
        GetStringValueFromText(text, "act=", acAct) != 0 || PTZ_TakeAct(acAct, ACTIONS, param.acCommand) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_Preset(SessionSlot &slot)
{
    const auto &param = Session_Param<PresetParam>(slot);
    TextBuffer<128> command;
    command.Addf("%s=%s", param.acCommand, param.acName);
    return Session_SendCommand(slot, command.View());
}

int MappingGetRoutine_PresetList(SessionSlot &slot)
{
    auto &result = Session_Result<PresetListResult>(slot);
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < MAX_PRESETS; ++i)
        Read_AddKey(keys, NAME_KEY, {i});
    ConfigerReply<2048> reply(__func__);
    reply.AskFor(keys.View());
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::InternalError);
    for (int32_t i = 0; i < MAX_PRESETS; ++i) {
        const StoreKey key(NAME_KEY, {i});
        if (Get_Configer_STRING_Value(reply.View(), key.View(), result.aacName[i]) != 0)
            Trace("Get %s failed\n", key.Text());
    }
    return Session_Succeed(slot);
}

void Compose_PresetList(TextBuilder &body, SessionSlot &slot)
{
    body.Add("presets=");
    const size_t emptyLength = body.Length();
    for (const char *pcName : Session_Result<PresetListResult>(slot).aacName)
        if (*pcName != '\0')
            body.Addf("%s,", pcName);
    if (body.Length() > emptyLength)
        body.DropLast(1);
    body.Add("\r\n");
}
