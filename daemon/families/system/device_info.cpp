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

/** "1.02.07" is version "1.02" and build "07"; without a "." all of it is the version. */
void SplitFirmware(std::string_view firmware, DeviceInfoResult &result)
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
void FormatMacAddress(const char (&acSerial)[16], char (&acMacAddr)[20])
{
    size_t at = 0;
    for (size_t pair = 0; pair < 6; ++pair) {
        if (pair > 0)
            acMacAddr[at++] = ':';
        acMacAddr[at++] = acSerial[pair * 2];
        acMacAddr[at++] = acSerial[pair * 2 + 1];
    }
    acMacAddr[at] = '\0';
}

std::string_view HardwareRevision(std::string_view model)
{
    std::string_view revision = DEFAULT_REVISION;
    for (const auto &row : HARDWARE_REVISIONS)
        if (model.find(row.model) != std::string_view::npos)
            revision = row.revision;
    return revision;
}

} // namespace

int MappingGetRoutine_DeviceInfo(SessionSlot &slot)
{
    auto &result = Session_Result<DeviceInfoResult>(slot);
    char acFirmware[64] = {};
    char acSerial[16] = {};
    ConfigerReply<1024> reply(__func__);
    // KEPT: system_info_modelname, system_info_firmwareversion and system_hostname are asked for and never used.
    reply.Get({"system_info_modelname&", "system_info_extendedmodelname&", "system_info_firmwareversion&",
               "system_hostname&", "system_info_serialnumber&", "network_ipaddress&", "network_subnet&",
               "network_router&", "capability_ndi&", "capability_ndo&", "capability_supportvideoout&",
               "capability_ptzenabled&", "capability_naudioout&", "system_info_fwversion&", "layout_title_text&"});
    reply.Text("system_info_extendedmodelname=", result.acModel);
    reply.Text("system_info_extendedmodelname=", result.acProduct);
    reply.Text("system_info_fwversion=", acFirmware);
    reply.Text("layout_title_text=", result.acName);
    reply.Text("system_info_serialnumber=", acSerial);
    reply.Text("network_ipaddress=", result.acIPAddr);
    reply.Text("network_subnet=", result.acNetmask);
    reply.Text("network_router=", result.acGateway);
    reply.Int("capability_ndi=", result.iInputs);
    reply.Int("capability_ndo=", result.iOutputs);
    reply.Int("capability_naudioout=", result.iSpeakers);
    reply.Text("capability_supportvideoout=", result.acVideoOut);
    reply.Int("capability_ptzenabled=", result.iPTZEnabled);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::InternalError);

    SplitFirmware(acFirmware, result);
    FormatMacAddress(acSerial, result.acMacAddr);
    Text_Copy(result.acHWVersion, HardwareRevision(result.acModel));
    return Session_Succeed(slot);
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
