#pragma once

#include <cstdint>

/** How a request goes on after parsing. */
enum class MappingMethod : int32_t { None = 0, Get = 1, Set = 2 };

/** The API's numbering of what can be read: GET routine and composer. */
enum class GetIndex : int32_t {
    None = 0,
    NetworkConfig = 1,
    DateTime = 2,
    VideoConfig = 3,
    StreamInfo = 4,
    SensorConfig = 5,
    DeviceInfo = 6,
    RtspUrl = 7,
    SensorInfo = 8,
    MjpgStream = 9,
    MicroPhoneConfig = 10,
    DIDOConfig = 11,
    RS485Config = 12,
    PresetList = 13,
    AudioConfig = 14,
    NotifyStream = 15,
    Speaker = 16,
    Motion = 17,
    Recorder = 18,
    Snapshot = 19,
    Alarm = 20,
    CameraInfo = 21,
    TimeStamp = 22,
    DDNS = 23,
};
inline constexpr int32_t GET_INDEX_COUNT = 24;

/** The API's numbering of what can be changed, which is another one. */
enum class SetIndex : int32_t {
    None = 0,
    DateTime = 1,
    NetworkConfig = 2,
    SensorConfig = 3,
    VideoConfig = 4,
    ModifyUser = 5,
    DeleteUser = 6,
    SystemReboot = 7,
    MicroPhoneConfig = 8,
    DIDOConfig = 9,
    RS485Config = 10,
    RS485Do = 11,
    Preset = 12,
    PTZHome = 13,
    AudioConfig = 14,
    AutoPan = 15,
    Speaker = 16,
    AudioUpstream = 17,
    Motion = 18,
    Recorder = 19,
    Snapshot = 20,
    Alarm = 21,
    PTZMoveRel = 22,
    ScheduleReboot = 23,
    CameraInfo = 24,
    TimeStamp = 25,
    DDNS = 26,
};
inline constexpr int32_t SET_INDEX_COUNT = 27;
