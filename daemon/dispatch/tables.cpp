#include "daemon/audio/audio_upstream.h"
#include "daemon/dispatch/dispatch.h"
#include "daemon/families/events/alarm.h"
#include "daemon/families/events/digital_io.h"
#include "daemon/families/events/motion.h"
#include "daemon/families/events/recorder.h"
#include "daemon/families/events/snapshot.h"
#include "daemon/families/media/audio_config.h"
#include "daemon/families/media/microphone.h"
#include "daemon/families/media/mjpg_stream.h"
#include "daemon/families/media/sensor.h"
#include "daemon/families/media/speaker.h"
#include "daemon/families/media/stream_info.h"
#include "daemon/families/media/video_config.h"
#include "daemon/families/network/ddns.h"
#include "daemon/families/network/network_config.h"
#include "daemon/families/ptz/preset.h"
#include "daemon/families/ptz/ptz_move.h"
#include "daemon/families/ptz/rs485_config.h"
#include "daemon/families/system/date_time.h"
#include "daemon/families/system/device_info.h"
#include "daemon/families/system/reboot.h"
#include "daemon/families/system/text_setting.h"
#include "daemon/families/system/user.h"
#include "daemon/notify/notify_stream.h"

#include <array>
#include <cstring>
#include <string_view>

namespace
{

template <GetIndex Index>
int GetPrepare(SessionSlot &slot)
{
    slot.eMappingMethod = MappingMethod::Get;
    slot.iMappingIndex = static_cast<int32_t>(Index);
    return Session_Accept(slot);
}

int NotAllowed(SessionSlot &slot)
{
    return Session_Refuse(slot, StatusKind::BadRequest);
}

int NoRoutine(SessionSlot &)
{
    return 0;
}

void NoBody(TextBuilder &, SessionSlot &) {}

constexpr FixedBody REBOOT_BODY = {"reboot=yes\r\n", "reboot=yes\r"};
constexpr FixedBody HOME_BODY = {"p=0\r\nt=0\r\nz=0\r\n"};
constexpr FixedBody OK_BODY = {"<config><result><code>ok</code></result></config>"};

constexpr OpenStream NOTIFY_STREAM = {NotifyStream_DueMs, NotifyStream_BeforeEvent};

/* The API's URLs, in the order in which they are looked up: read, change. */
constexpr std::array URL_TABLE = std::to_array<UrlRow>({
    {"/config/network.cgi", GetPrepare<GetIndex::NetworkConfig>, Parser_NetworkConfig_Set},
    {"/config/datetime.cgi", GetPrepare<GetIndex::DateTime>, Parser_DateTime_Set},
    {"/config/video.cgi", GetPrepare<GetIndex::VideoConfig>, Parser_VideoConfig_Set, UrlTrait::Selector},
    {"/config/stream_info.cgi", GetPrepare<GetIndex::StreamInfo>, NotAllowed},
    {"/config/sensor.cgi", GetPrepare<GetIndex::SensorConfig>, Parser_SensorConfig_Set},
    {"/common/info.cgi", GetPrepare<GetIndex::DeviceInfo>, NotAllowed},
    {"/config/user_mod.cgi", NotAllowed, Parser_ModifyUser_Set},
    {"/config/user_del.cgi", NotAllowed, Parser_DeleteUser_Set},
    {"/config/rtspurl.cgi", GetPrepare<GetIndex::RtspUrl>, NotAllowed, UrlTrait::Selector},
    {"/config/sensor_info.cgi", GetPrepare<GetIndex::SensorInfo>, NotAllowed},
    {"/config/system_reboot.cgi", NotAllowed, Parser_SystemReboot_Set},
    {"/video/mjpg.cgi", GetPrepare<GetIndex::MjpgStream>, NotAllowed, UrlTrait::Selector},
    {"/config/mic.cgi", GetPrepare<GetIndex::MicroPhoneConfig>, Parser_MicroPhoneConfig_Set},
    {"/config/io.cgi", GetPrepare<GetIndex::DIDOConfig>, Parser_DIDOConfig_Set},
    {"/config/rs485.cgi", GetPrepare<GetIndex::RS485Config>, Parser_RS485Config_Set},
    {"/config/rs485_do.cgi", NotAllowed, Parser_RS485Do_Set},
    {"/config/ptz_preset_list.cgi", GetPrepare<GetIndex::PresetList>, NotAllowed},
    {"/config/ptz_preset.cgi", NotAllowed, Parser_Preset_Set},
    {"/config/ptz_home.cgi", NotAllowed, Parser_PTZHome_Set},
    {"/config/audio.cgi", GetPrepare<GetIndex::AudioConfig>, Parser_AudioConfig_Set, UrlTrait::Selector},
    {"/config/notify_stream.cgi", GetPrepare<GetIndex::NotifyStream>, NotAllowed},
    {"/config/auto_pan.cgi", NotAllowed, Parser_AutoPan_Set},
    {"/config/speaker.cgi", GetPrepare<GetIndex::Speaker>, Parser_Speaker_Set},
    {"/dev/speaker.cgi", NotAllowed, Parser_AudioUpstream_Set, UrlTrait::StreamedBody},
    {"/config/motion.cgi", GetPrepare<GetIndex::Motion>, Parser_Motion_Set},
    {"/cgi/admin/recorder.cgi", GetPrepare<GetIndex::Recorder>, Parser_Recorder_Set},
    {"/cgi/admin/adv_snapshot_cont.cgi", GetPrepare<GetIndex::Snapshot>, Parser_Snapshot_Set},
    {"/cgi/admin/adv_do.cgi", GetPrepare<GetIndex::Alarm>, Parser_Alarm_Set},
    {"/config/ptz_move_rel.cgi", NotAllowed, Parser_PTZMoveRel_Set},
    {"/config/scheduled_reboot.cgi", NotAllowed, Parser_ScheduleReboot_Set},
    {"/config/camera_info.cgi", GetPrepare<GetIndex::CameraInfo>, Parser_CameraInfo_Set},
    {"/config/timestamp.cgi", GetPrepare<GetIndex::TimeStamp>, Parser_TimeStamp_Set},
    {"/config/ddns.cgi", GetPrepare<GetIndex::DDNS>, Parser_DDNS_Set},
});

constexpr std::array GET_TABLE = std::to_array<GetRow>({
    {GetIndex::None, NoRoutine, NoBody},
    {GetIndex::NetworkConfig, MappingGetRoutine_NetworkConfig, Compose_NetworkConfig},
    {GetIndex::DateTime, MappingGetRoutine_DateTime, Compose_DateTime},
    {GetIndex::VideoConfig, MappingGetRoutine_VideoConfig, Compose_VideoConfig},
    {GetIndex::StreamInfo, MappingGetRoutine_StreamInfo, Compose_StreamInfo},
    {GetIndex::SensorConfig, MappingGetRoutine_SensorConfig, Compose_SensorConfig},
    {GetIndex::DeviceInfo, MappingGetRoutine_DeviceInfo, Compose_DeviceInfo},
    {GetIndex::RtspUrl, MappingGetRoutine_RtspUrl, Compose_RtspUrl},
    {GetIndex::SensorInfo, MappingGetRoutine_SensorInfo, Compose_SensorInfo},
    {GetIndex::MjpgStream, MappingGetRoutine_MjpgStream, Compose_MjpgStream, ReplyKind::HandedOn},
    {GetIndex::MicroPhoneConfig, MappingGetRoutine_MicroPhoneConfig, Compose_MicroPhoneConfig},
    {GetIndex::DIDOConfig, MappingGetRoutine_DIDOConfig, Compose_DIDOConfig},
    {GetIndex::RS485Config, MappingGetRoutine_RS485Config, Compose_RS485Config},
    {GetIndex::PresetList, MappingGetRoutine_PresetList, Compose_PresetList},
    {GetIndex::AudioConfig, MappingGetRoutine_AudioConfig, Compose_AudioConfig},
    {GetIndex::NotifyStream, MappingGetRoutine_NotifyStream, Compose_NotifyStream, ReplyKind::WithLength,
     &NOTIFY_STREAM},
    {GetIndex::Speaker, MappingGetRoutine_Speaker, Compose_Speaker},
    {GetIndex::Motion, MappingGetRoutine_Motion, Compose_Motion},
    {GetIndex::Recorder, MappingGetRoutine_Recorder, Compose_Recorder},
    {GetIndex::Snapshot, MappingGetRoutine_Snapshot, Compose_Snapshot},
    {GetIndex::Alarm, MappingGetRoutine_Alarm, Compose_Alarm},
    {GetIndex::CameraInfo, MappingGetRoutine_CameraInfo, Compose_CameraInfo},
    {GetIndex::TimeStamp, MappingGetRoutine_TimeStamp, Compose_TimeStamp},
    {GetIndex::DDNS, MappingGetRoutine_DDNS, Compose_DDNS},
});

constexpr std::array SET_TABLE = std::to_array<SetRow>({
    {SetIndex::None, NoRoutine},
    {SetIndex::DateTime, MappingSetRoutine_DateTime},
    {SetIndex::NetworkConfig, MappingSetRoutine_NetworkConfig},
    {SetIndex::SensorConfig, MappingSetRoutine_SensorConfig},
    {SetIndex::VideoConfig, MappingSetRoutine_VideoConfig},
    {SetIndex::ModifyUser, MappingSetRoutine_ModifyUser},
    {SetIndex::DeleteUser, MappingSetRoutine_DeleteUser},
    {SetIndex::SystemReboot, MappingSetRoutine_SystemReboot, &REBOOT_BODY},
    {SetIndex::MicroPhoneConfig, MappingSetRoutine_MicroPhoneConfig},
    {SetIndex::DIDOConfig, MappingSetRoutine_DIDOConfig},
    {SetIndex::RS485Config, MappingSetRoutine_RS485Config},
    {SetIndex::RS485Do, MappingSetRoutine_RS485Do},
    {SetIndex::Preset, MappingSetRoutine_Preset},
    {SetIndex::PTZHome, MappingSetRoutine_PTZHome, &HOME_BODY},
    {SetIndex::AudioConfig, MappingSetRoutine_AudioConfig},
    {SetIndex::AutoPan, MappingSetRoutine_AutoPan},
    {SetIndex::Speaker, MappingSetRoutine_Speaker},
    {SetIndex::AudioUpstream, MappingSetRoutine_AudioUpstream, nullptr, ReplyKind::StatusLine},
    {SetIndex::Motion, MappingSetRoutine_Motion},
    {SetIndex::Recorder, MappingSetRoutine_Recorder, &OK_BODY},
    {SetIndex::Snapshot, MappingSetRoutine_Snapshot, &OK_BODY},
    {SetIndex::Alarm, MappingSetRoutine_Alarm, &OK_BODY},
    {SetIndex::PTZMoveRel, MappingSetRoutine_PTZMoveRel},
    {SetIndex::ScheduleReboot, MappingSetRoutine_ScheduleReboot},
    {SetIndex::CameraInfo, MappingSetRoutine_CameraInfo},
    {SetIndex::TimeStamp, MappingSetRoutine_TimeStamp},
    {SetIndex::DDNS, MappingSetRoutine_DDNS},
});

/** True for a function that is there. */
template <typename Function>
constexpr bool IsSet([[maybe_unused]] Function pfnFunction)
{
#ifdef __SANITIZE_ADDRESS__
    return true; // g++ takes no such comparison for a constant under -fsanitize=undefined; the other builds do
#else
    return pfnFunction != nullptr;
#endif
}

template <typename Table>
constexpr bool PositionsAreIndexes(const Table &table)
{
    for (size_t i = 0; i < table.size(); ++i)
        if (static_cast<size_t>(table[i].eIndex) != i || !IsSet(table[i].pfnRoutine))
            return false;
    return true;
}

constexpr bool UrlsAreUnique()
{
    for (size_t i = 0; i < URL_TABLE.size(); ++i) {
        if (!IsSet(URL_TABLE[i].pfnGetPrepare) || !IsSet(URL_TABLE[i].pfnSetParser))
            return false;
        for (size_t j = 0; j < i; ++j)
            if (std::string_view(URL_TABLE[i].pcUrl) == URL_TABLE[j].pcUrl)
                return false;
    }
    return true;
}

static_assert(URL_TABLE.size() == 33 && UrlsAreUnique());
static_assert(GET_TABLE.size() == GET_INDEX_COUNT && PositionsAreIndexes(GET_TABLE));
static_assert(SET_TABLE.size() == SET_INDEX_COUNT && PositionsAreIndexes(SET_TABLE));

template <typename Table>
const auto &Row(const Table &table, const SessionSlot &slot)
{
    const auto index = static_cast<uint32_t>(slot.iMappingIndex);
    return table[index < table.size() ? index : 0];
}

} // namespace

const UrlRow *Dispatch_FindUrl(const char *pcUrl)
{
    for (const UrlRow &row : URL_TABLE)
        if (strcmp(row.pcUrl, pcUrl) == 0)
            return &row;
    return nullptr;
}

const GetRow &Dispatch_GetRow(const SessionSlot &slot)
{
    return Row(GET_TABLE, slot);
}

const SetRow &Dispatch_SetRow(const SessionSlot &slot)
{
    return Row(SET_TABLE, slot);
}

ReplyKind Dispatch_ReplyKind(const SessionSlot &slot)
{
    switch (slot.eMappingMethod) {
    case MappingMethod::Get:
        return Dispatch_GetRow(slot).eReply;
    case MappingMethod::Set:
        return Dispatch_SetRow(slot).eReply;
    case MappingMethod::None:
        break;
    }
    return ReplyKind::WithLength;
}

const OpenStream *Dispatch_OpenStream(const SessionSlot &slot)
{
    return slot.eMappingMethod == MappingMethod::Get ? Dispatch_GetRow(slot).ptStream : nullptr;
}
