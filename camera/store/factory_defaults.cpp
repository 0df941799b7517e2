#include "camera/store/factory_defaults.h"

#include <string>
#include <string_view>

namespace camera
{

namespace
{

enum class Keep {
    Flash,   ///< a setting: survives a restart
    PowerOn, ///< state of the running camera: begins anew
};

/**
 * One key with its value; or, with a "#" in its name, a numbered run of keys, the "#" standing for 0, 1, 2, ... and
 * the values joined by "|".
 */
struct Row {
    std::string_view key;
    std::string_view values;
    Keep keep = Keep::Flash;
};

constexpr Row ROWS[] = {
    // Identity. The serial number is the MAC address, a locally administered one.
    {"system_info_modelname", "KC2205"},
    {"system_info_extendedmodelname", "KC2205-PTZ"},
    {"system_info_firmwareversion", "KC2205-1.02.07"},
    {"system_info_fwversion", "1.02.07"},
    {"system_info_serialnumber", "02004B4C5041"},
    {"system_hostname", "kelpa"},
    {"layout_title_text", "Kelpa Camera"},

    // Capabilities. Counts, lists and the keys of the sections below belong together.
    {"capability_ndi", "2"},
    {"capability_ndo", "2"},
    {"capability_nmotion", "3"},
    {"capability_nmediastream", "3"},
    {"capability_naudiosetting", "2"},
    {"capability_naudioout", "1"},
    {"capability_nptzdrivers", "5"},
    {"capability_ptzenabled", "1"},
    {"capability_supportaudio", "1"},
    {"capability_supportvideoout", "no"},
    {"capability_videoin_codec", "h264,mjpeg,mpeg4"}, // one reader takes at most 31 characters
    {"capability_videoin_resolution", "1280x720,800x600,640x480,352x288,320x240,176x144"},
    {"capability_videoin_vbitrates", "8000,6000,4000,3000,2000,1500,1000,768,512,256,128,64"},
    {"capability_videoin_framerates", "30,25,20,15,10,5,1"},
    {"capability_videoin_qualities", "1,2,3,4,5"}, // at most 15 characters
    {"capability_audioin_codec", "aac4,gamr,g711"},
    {"capability_audioin_aac4_bitrate", "16000,32000,48000,64000,96000,128000"},
    {"capability_audioin_aac4_samplerate", "8000,16000,32000,44100"},
    {"capability_audioin_gamr_bitrate", "4750,5150,5900,6700,7400,7950,10200,12200"},
    {"capability_audioin_gamr_samplerate", "8000"},

    // Date and time.
    {"system_timezoneindex", "0"},
    {"system_daylight_enable", "0"},
    {"system_updateinterval", "0"},
    {"system_ntp", "pool.ntp.org"},
    {"system_date", "2024/01/01", Keep::PowerOn},
    {"system_time", "00:00:00", Keep::PowerOn},
    {"system_reset", "0", Keep::PowerOn},

    // Network.
    {"network_type", "lan"},
    {"network_resetip", "1"},
    {"network_ipaddress", "192.168.1.60"},
    {"network_subnet", "255.255.255.0"},
    {"network_router", "192.168.1.1"},
    {"network_dns1", "192.168.1.1"},
    {"network_dns2", "0.0.0.0"},
    {"network_http_port", "80"},
    {"network_http_alternateport", "8080"},
    {"network_rtsp_port", "554"},
    {"network_rtsp_s#_accessname", "live1.sdp|live2.sdp|live3.sdp"},
    {"network_pppoe_user", ""},
    {"network_pppoe_pass", ""},
    {"upnpportforwarding_enable", "0"},
    {"network_restart", "0", Keep::PowerOn},

    // DDNS, one account per provider.
    {"ddns_enable", "0"},
    {"ddns_provider", "DyndnsDynamic"},
    {"ddns_DyndnsDynamic_hostname", ""},
    {"ddns_DyndnsDynamic_usernameemail", ""},
    {"ddns_DyndnsDynamic_passwordkey", ""},
    {"ddns_DyndnsDynamic_servername", ""},
    {"ddns_Pomro_hostname", ""},
    {"ddns_Pomro_usernameemail", ""},
    {"ddns_Pomro_passwordkey", ""},
    {"ddns_Pomro_servername", ""},
    {"ddns_PomroCN_hostname", ""},
    {"ddns_PomroCN_usernameemail", ""},
    {"ddns_PomroCN_passwordkey", ""},
    {"ddns_PomroCN_servername", ""},

    // Video: one input with three streams, each with the settings of every codec it may be switched to.
    {"videoin_c0_text", "Camera 1"},
    {"videoin_c0_s#_codectype", "h264|mjpeg|mpeg4"},
    {"videoin_c0_s#_resolution", "1280x720|640x480|320x240"},
    {"videoin_c0_s#_h264_intraperiod", "1000|1000|1000"},
    {"videoin_c0_s#_h264_ratecontrolmode", "cbr|cbr|cbr"},
    {"videoin_c0_s#_h264_quant", "3|3|3"},
    {"videoin_c0_s#_h264_bitrate", "2000000|1000000|512000"},
    {"videoin_c0_s#_h264_maxframe", "30|30|15"},
    {"videoin_c0_s#_mjpeg_quant", "3|3|3"},
    {"videoin_c0_s#_mjpeg_maxframe", "15|15|15"},
    {"videoin_c0_s#_mpeg4_intraperiod", "1000|1000|1000"},
    {"videoin_c0_s#_mpeg4_ratecontrolmode", "vbr|vbr|vbr"},
    {"videoin_c0_s#_mpeg4_quant", "3|3|3"},
    {"videoin_c0_s#_mpeg4_bitrate", "2000000|1000000|512000"},
    {"videoin_c0_s#_mpeg4_maxframe", "30|30|15"},

    // Image sensor.
    {"videoin_c0_whitebalance", "auto"},
    {"videoin_c0_maxexposure", "30"},
    {"videoin_c0_enableblc", "0"},
    {"videoin_c0_mirror", "0"},
    {"videoin_c0_flip", "0"},
    {"videoin_c0_color", "1"},
    {"image_c0_brightness", "0"},
    {"image_c0_contrast", "0"},
    {"image_c0_saturation", "0"},
    {"image_c0_sharpness", "0"},

    // Audio: two streams, the microphone, the speaker. The bit rate of G.711 is written under the codec's word and
    // read under its law's.
    {"audioin_c0_s#_codectype", "aac4|g711"},
    {"audioin_c0_s#_g711_mode", "pcmu|pcmu"},
    {"audioin_c0_s#_aac4_bitrate", "64000|64000"},
    {"audioin_c0_s#_gamr_bitrate", "12200|12200"},
    {"audioin_c0_s#_g711_bitrate", "64000|64000"},
    {"audioin_c0_s#_pcmu_bitrate", "64000|64000"},
    {"audioin_c0_s#_pcma_bitrate", "64000|64000"},
    {"audioin_c0_mute", "0"},
    {"audioin_c0_gain", "50"},
    {"audioout_c0_speaker_enable", "1"},

    // PTZ head and the serial port that can drive one.
    {"camctrl_c0_isptz", "1"},
    {"camctrl_c0_cameraid", "1"},
    {"camctrl_c0_preset_i#_name", "|||||||||||||||||||"},
    {"uart_i0_ptzdriver", "2"},
    {"uart_i0_baudrate", "2400"},
    {"uart_i0_databit", "8"},
    {"uart_i0_paritybit", "none"},
    {"uart_i0_stopbit", "1"},
    {"uart_ptzdrivers_i#_name", "Dyna|Lilin|Pelco D|Pelco P|custom"},

    // Motion detection. The windows that are on and the masks of the event slots (event_i#_mdwin) agree.
    {"motion_c0_enable", "1"},
    {"motion_c0_win_i#_enable", "1|1|1"},
    {"motion_c0_win_i#_name", "kelpa_motion_1|kelpa_motion_2|kelpa_motion_3"},
    {"motion_c0_win_i#_sensitivity", "70|70|70"},
    {"motion_c0_win_i#_objsize", "10|10|10"},
    {"motion_c0_win_i#_left", "0|0|160"},
    {"motion_c0_win_i#_top", "0|120|120"},
    {"motion_c0_win_i#_width", "320|160|160"},
    {"motion_c0_win_i#_height", "120|120|120"},

    // Inputs and outputs as they are right now.
    {"status_di_i#", "0|0", Keep::PowerOn},
    {"status_do_i#", "0|0", Keep::PowerOn},

    // Event slots: recorder, snapshot, alarm output, scheduled reboot.
    {"event_i#_name", "kelpa_recorder|kelpa_snapshot|kelpa_alarm|"},
    {"event_i#_enable", "0|0|0|0"},
    {"event_i#_priority", "1|1|1|255"},
    {"event_i#_trigger", "|seq||schedulereboot"},
    {"event_i#_di", "0|0|0|0"},
    {"event_i#_mdwin", "7|7|7|0"},
    {"event_i#_inter", "0|1|0|0"},
    {"event_i#_weekday", "127|127|127|0"},
    {"event_i#_begintime", "00:00|00:00|00:00|00:00"},
    {"event_i#_endtime", "24:00|24:00|24:00|00:00"},
    {"event_i#_action_do_i0_enable", "0|0|1|0"},
    {"event_i#_action_goto_enable", "0|0|0|0"},
    {"event_i#_action_patrol_enable", "0|0|0|0"},
    {"event_i#_action_cf_enable", "1|0|0|0"},
    {"event_i#_action_cf_media", "0|0|0|0"},
    {"event_i#_action_cf_backup", "0|0|0|0"},
    {"event_i#_action_server_i0_enable", "0|0|0|0"},
    {"event_i#_action_server_i1_enable", "0|0|0|0"},
    {"event_i#_action_server_i2_enable", "0|0|0|0"},
    {"event_i#_action_server_i3_enable", "0|0|0|0"},
    {"event_i#_action_server_i4_enable", "0|0|0|0"},
    {"event_i#_action_server_i0_media", "0|0|0|0"},
    {"event_i#_action_server_i1_media", "1|1|1|1"},
    {"event_i#_action_server_i2_media", "2|2|2|2"},

    // Servers: network share, e-mail, FTP.
    {"server_i#_name", "kelpa_nas|kelpa_smtp|kelpa_ftp"},
    {"server_i#_type", "ns||"},
    {"server_i0_ns_location", ""},
    {"server_i0_ns_username", ""},
    {"server_i0_ns_passwd", ""},
    {"server_i0_ns_workgroup", "workgroup"},
    {"server_i1_email_address", ""},
    {"server_i1_email_port", "25"},
    {"server_i1_email_username", ""},
    {"server_i1_email_passwd", ""},
    {"server_i1_email_senderemail", ""},
    {"server_i1_email_recipientemail", ""},
    {"server_i2_ftp_address", ""},
    {"server_i2_ftp_port", "21"},
    {"server_i2_ftp_username", ""},
    {"server_i2_ftp_passwd", ""},
    {"server_i2_ftp_location", ""},
    {"server_i2_ftp_passive", "1"},

    // Media: the recorder's clip, the snapshot by e-mail, the snapshot by FTP.
    {"media_i#_name", "kelpa_recorder|kelpa_snapshot_smtp|kelpa_snapshot_ftp"},
    {"media_i#_type", "videoclip|snapshot|snapshot"},
    {"media_i0_videoclip_source", "0"},
    {"media_i0_videoclip_preevent", "5"},
    {"media_i0_videoclip_maxduration", "10"}, // the clip's whole length, the seconds before the event included
    {"media_i0_videoclip_maxsize", "4096"},
    {"media_i1_snapshot_datesuffix", "1"},
    {"media_i2_snapshot_datesuffix", "1"},
    {"media_i2_snapshot_prefix", "snapshot"},

    // Recording.
    {"recording_i0_name", "kelpa_recorder"},
    {"recording_i0_enable", "0"},
    {"recording_i0_trigger", "schedule"},
    {"recording_i0_source", "0"},
    {"recording_i0_dest", "cf"},
    {"recording_i0_weekday", "127"},
    {"recording_i0_begintime", "00:00"},
    {"recording_i0_endtime", "24:00"},
    {"recording_i0_duration", "300"},
    {"recording_i0_limitsize", "1"},
    {"recording_i0_reserveamount", "500"},
    {"recording_i0_cyclic", "1"},
    {"disk_i0_cyclic_enabled", "1"},
};

/** Calls `take` with every key of the table, its value and whether it is kept. */
template <class Take>
void forEachDefault(Take take)
{
    for (const Row &row : ROWS) {
        const size_t mark = row.key.find('#');
        if (mark == std::string_view::npos) {
            take(Setting{std::string(row.key), std::string(row.values)}, row.keep);
            continue;
        }
        std::string_view rest = row.values;
        for (size_t number = 0;; ++number) {
            const std::string_view value = rest.substr(0, rest.find('|'));
            std::string key(row.key);
            take(Setting{key.replace(mark, 1, std::to_string(number)), std::string(value)}, row.keep);
            if (value.size() == rest.size())
                break;
            rest.remove_prefix(value.size() + 1);
        }
    }
}

} // namespace

std::vector<Setting> factoryDefaults()
{
    std::vector<Setting> defaults;
    forEachDefault([&](Setting setting, Keep) { defaults.push_back(std::move(setting)); });
    return defaults;
}

void powerOn(Store &store)
{
    store.addMissing(factoryDefaults());
    std::vector<Setting> fresh;
    forEachDefault([&](Setting setting, Keep keep) {
        if (keep == Keep::PowerOn)
            fresh.push_back(std::move(setting));
    });
    store.set(fresh);
}

} // namespace camera
