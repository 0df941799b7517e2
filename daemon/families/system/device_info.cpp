#include "daemon/families/system/device_info.h"

#include "daemon/configer/reply.h"

#include <string_view>

namespace
{

/** The hardware revision by the model number that stands somewhere in the model text; the last match wins. */
constexpr struct {
    std::string_view model;
    std::string_view revision;
} HARDWARE_REVISIONS[] = {{"2201", "A1"}, {"2202", "B1"}, {"2203", "B1"}, {"2204", "B1"}, {"2205", "C1"}};
constexpr std::string_view DEFAULT_REVISION = "A1";

constexpr size_t MAX_SERIAL_NUMBER = 15;

/** "1.02.07" is version "1.02" and build "07"; without a "." all of it is the version. */
void TakeFirmware(std::string_view firmware, DeviceInfoResult &result)
{
    const size_t dot = firmware.rfind('.');
    if (dot == std::string_view::npos) {
        Text_Copy(result.acVersion, firmware);
        return;
    }
    Text_Copy(result.acVersion, {firmware.data(), dot});
    Text_Copy(result.acBuild, {firmware.data() + dot + 1, firmware.size() - dot - 1});
}

/** The serial number is the MAC address without separators; a short one gives a text that ends where it does. */
void TakeSerialNumber(std::string_view serial, DeviceInfoResult &result)
{
    char acSerial[MAX_SERIAL_NUMBER + 1] = {};
    Text_Copy(acSerial, serial);
    size_t at = 0;
    for (size_t pair = 0; pair < 6; ++pair) {
        if (pair > 0)
            result.acMacAddr[at++] = ':';
        result.acMacAddr[at++] = acSerial[pair * 2];
        result.acMacAddr[at++] = acSerial[pair * 2 + 1];
    }
    result.acMacAddr[at] = '\0';
}

std::string_view HardwareRevision(std::string_view model)
{
    std::string_view revision = DEFAULT_REVISION;
    for (const auto &row : HARDWARE_REVISIONS)
        if (model.find(row.model) != std::string_view::npos)
            revision = row.revision;
    return revision;
}

void TakeModel(std::string_view model, DeviceInfoResult &result)
{
    Text_Copy(result.acModel, model);
    Text_Copy(result.acProduct, model);
    Text_Copy(result.acHWVersion, HardwareRevision(model));
}

using Result = DeviceInfoResult;

// KEPT: three of them are asked for and never used.
constexpr ReadRow<Result> DEVICE_INFO[] = {
    AskOnly("system_info_modelname"),
    ReadSpecial<TakeModel, sizeof Result::acModel - 1>("system_info_extendedmodelname"),
    AskOnly("system_info_firmwareversion"),
    AskOnly("system_hostname"),
    ReadSpecial<TakeSerialNumber, MAX_SERIAL_NUMBER>("system_info_serialnumber"),
    ReadText<&Result::acIPAddr>("network_ipaddress"),
    ReadText<&Result::acNetmask>("network_subnet"),
    ReadText<&Result::acGateway>("network_router"),
    ReadInt<&Result::iInputs>("capability_ndi"),
    ReadInt<&Result::iOutputs>("capability_ndo"),
    ReadText<&Result::acVideoOut>("capability_supportvideoout"),
    ReadInt<&Result::iPTZEnabled>("capability_ptzenabled"),
    ReadInt<&Result::iSpeakers>("capability_naudioout"),
    ReadSpecial<TakeFirmware, sizeof Result::acVersion - 1>("system_info_fwversion"),
    ReadText<&Result::acName>("layout_title_text"),
};

} // namespace

int MappingGetRoutine_DeviceInfo(SessionSlot &slot)
{
    ConfigerReply<1024> reply(__func__);
    reply.Read(DEVICE_INFO, Session_Result<Result>(slot));
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_DeviceInfo(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<DeviceInfoResult>(slot);
    body.Line("model=", result.acModel);
    body.Line("product=", result.acProduct);
    body.Line("version=", result.acVersion);
    body.Line("build=", result.acBuild);
    body.Line("kelpa=", "1.9.5");
    body.Line("name=", result.acName);
    body.Line("macaddr=", result.acMacAddr);
    body.Line("ipaddr=", result.acIPAddr);
    body.Line("netmask=", result.acNetmask);
    body.Line("gateway=", result.acGateway);
    body.Line("inputs=", result.iInputs);
    body.Line("outputs=", result.iOutputs);
    body.LineYesNo("speaker=", result.iSpeakers > 0);
    body.Line("videoout=", result.acVideoOut);
    body.Line("hw_version=", result.acHWVersion);
    body.Line("ptz=", "P,T,Z");
}
