#include "tests/fakes/read_table.h"

#include "tests/fakes/exchange_cases.h"

namespace
{

FamilyRead dateTime(const std::string &ntp)
{
    return {"/config/datetime.cgi", "", "DateTime", // the clock is in the family's own test
            "system_updateinterval=" + ntp +
                "; Get NTP information failed\nsystem_timezoneindex=160; Get TimeZone information failed\n"
                "system_daylight_enable=1|flag; Get daylight information failed"};
}

std::string account(const std::string &provider)
{
    const std::string prefix = "ddns_" + provider + "_";
    return "\n" + prefix + "hostname=a.host|127&" + prefix + "usernameemail=a.user|63&" + prefix +
           "passwordkey=a.pass|63";
}

FamilyRead network(const std::string &stored, const std::string &account, const std::string &reported)
{
    return {"/config/network.cgi",
            "dhcp=on\nip=192.168.0.20\nnetmask=255.255.0.0\ngateway=172.16.0.1\ndns1=10.0.0.1\ndns2=10.9.9.2\n"
            "httpport=80\nhttpexternalport=8080\nrtspport=554\nupnp=off\npppoe=on\npppoeuser=ppp.user\n"
            "pppoepass=ppp.pass\nddns=on\nddnsprovider=" +
                reported + "\nddnshost=a.host\nddnsuser=a.user\nddnspass=a.pass\n",
            "NetworkConfig",
            "network_resetip=1|flag&network_ipaddress=192.168.0.20|15&network_subnet=255.255.0.0|15&"
            "network_router=172.16.0.1|15&network_dns1=10.0.0.1|15&network_dns2=10.9.9.2|15 none&"
            "network_http_port=80&network_http_alternateport=8080&network_rtsp_port=554&network_type=pppoe|15 word&"
            "network_pppoe_user=ppp.user|127&network_pppoe_pass=ppp.pass|63&ddns_enable=1|flag&ddns_provider=" +
                stored + "|31 word&upnpportforwarding_enable=0|flag" + account};
}

/** A profile that has the values of three codecs, of which its own are looked at. */
FamilyRead video(const std::string &profile, const std::string &codec, const std::string &name,
                 const std::string &rest)
{
    const std::string stream = "videoin_c0_s" + std::to_string(std::stoi(profile) - 1) + "_";
    std::string values = stream + "codectype=" + codec + "|7 word&" + stream + "resolution=800x600|11";
    for (const std::string of : {"mpeg4", "mjpeg", "h264"})
        for (const std::string value :
             {"intraperiod=1000", "ratecontrolmode=abr|11", "quant=3", "bitrate=2000000", "maxframe=25"})
            if (of != "mjpeg" || value.starts_with("quant") || value.starts_with("maxframe"))
                values +=
                    "&" + stream + of + "_" + (of == codec ? value : value.substr(0, value.find('|')) + "|unused");
    return {
        "/config/video.cgi?profileid=" + profile,
        "vprofileformat=0.9\nprofileid=" + profile + "\nresolution=800x600\ncodec=" + name +
            "\nframerate=25\nquality=3\nqualitymode=" + rest,
        "VideoConfig",
        "Capability_GetVideoStreams: capability_nmediastream=3&capability_videoin_codec=mpeg4,h264|31 word bare\n" +
            values};
}

/** Two windows, the second one on unless the camera's switch is off. */
FamilyRead motion(const std::string &on, const std::string &reported, const std::string &enable)
{
    std::string windows;
    for (const std::string window : {"0", "1"})
        for (const std::string &value :
             {"enable=" + window + enable, "left=" + window + "|=", std::string("top=20|="),
              std::string("width=300|="), std::string("height=200|=")})
            windows += "motion_c0_win_i" + window + "_" + value + "&";
    return {"/config/motion.cgi",
            "totalnum=2\nsensitivity=70\npercentage=10\nenable1=no\nmdw1=0,20,300,200\nenable2=" + reported +
                "\nmdw2=1,20,300,200\n",
            "Motion",
            "capability_nmotion=2&motion_c0_enable=" + on +
                "|flag&motion_c0_win_i0_objsize=10&motion_c0_win_i0_sensitivity=70\n" + windows};
}

FamilyRead alarm(const std::string &trigger, const std::string &inputs, const std::string &reported)
{
    return {"/cgi/admin/adv_do.cgi",
            "<config><digitalOutput><toOut1><enable>1</enable><triggerBy>" + reported +
                "</triggerBy></toOut1></digitalOutput></config>",
            "Alarm", "event_i2_enable=1|flag&event_i2_trigger=" + trigger + "|15 word&event_i2_di=" + inputs};
}

FamilyRead presetList()
{
    std::string names;
    for (int i = 0; i < 20; ++i)
        names += "camctrl_c0_preset_i" + std::to_string(i) + "_name=" + (i == 11 ? "door" : "") + "|47 none&";
    return {"/config/ptz_preset_list.cgi", "presets=door\n", "PresetList", names};
}

const FamilyRead READS[] = {
    {"/common/info.cgi",
     "model=KX-2202\nproduct=KX-2202\nversion=1.02\nbuild=07\nkelpa=1.9.5\nname=Entrance\nmacaddr=00:02:D1:A2:B3:C4"
     "\nipaddr=192.168.0.20\nnetmask=255.255.0.0\ngateway=172.16.0.1\ninputs=2\noutputs=3\nspeaker=yes\n"
     "videoout=no\nhw_version=B1\nptz=P,T,Z\n",
     "DeviceInfo",
     "system_info_modelname=x|unused&system_info_extendedmodelname=KX-2202|63 word&"
     "system_info_firmwareversion=x|unused&system_hostname=x|unused&system_info_serialnumber=0002D1A2B3C4|15 word&"
     "network_ipaddress=192.168.0.20|15&network_subnet=255.255.0.0|15&network_router=172.16.0.1|15&"
     "capability_ndi=2&capability_ndo=3&capability_supportvideoout=no|3&capability_ptzenabled=1&"
     "capability_naudioout=1&system_info_fwversion=1.02.07|63 word&layout_title_text=Entrance|63"},
    {"/config/camera_info.cgi", "name=Hall\n", "CameraInfo", "layout_title_text=Hall|63"},
    {"/config/timestamp.cgi", "label=Yard\n", "TimeStamp", "videoin_c0_text=Yard|63"},
    dateTime("3600&system_ntp=pool.ntp|39 word"),
    dateTime("0&system_ntp=x|unused"),
    network("DyndnsDynamic", account("DyndnsDynamic"), "dyndns"),
    network("PomroCN", account("PomroCN") + "&ddns_PomroCN_servername=ns.cn|63", "ns.cn"),
    {"/config/ddns.cgi", "ddns=on\nprovider=pomroddns\nhost=a.host\nuser=a.user\npass=a.pass\n", "DDNS",
     "ddns_enable=1|flag&ddns_provider=Pomro|31 word" + account("Pomro")},
    video("1", "h264", "H.264", "abr\nbitrate=2000\n"),
    video("2", "mjpeg", "MJPEG", "Fixquality\n"),
    video("3", "mpeg4", "MPEG4", "abr\nbitrate=2000\n"),
    {"/config/audio.cgi?profileid=1", "profileid=1\ncodec=AAC\nsamplerate=44100\nchannel=2\nbitrate=128000\n",
     "AudioConfig",
     "capability_naudiosetting=2\naudioin_c0_s0_codectype=aac4|7 word\naudioin_c0_s0_aac4_bitrate=128000"},
    {"/config/audio.cgi?profileid=2", "profileid=2\ncodec=A-LAW\nsamplerate=8000\nchannel=1\nbitrate=64000\n",
     "AudioConfig",
     "capability_naudiosetting=2\naudioin_c0_s1_codectype=g711|7 word\naudioin_c0_s1_g711_mode=pcma|7 word\n"
     "audioin_c0_s1_pcma_bitrate=64000"},
    {"/config/mic.cgi", "enable=yes\nvolume=50\n", "MicroPhoneConfig",
     "audioin_c0_mute=0|flag&audioin_c0_gain=50&capability_supportaudio=1|flag"},
    {"/config/speaker.cgi", "enable=yes\n", "Speaker", "audioout_c0_speaker_enable=1|flag"},
    {"/config/sensor.cgi",
     "brightness=-5\ncontrast=1\nsaturation=2\nwhitebalance=auto\nmaxexposuretime=30\nsharpness=3\n"
     "backlightcomp=yes\nmirror=off\nflip=on\ncolor=no\n",
     "SensorConfig",
     "image_c0_brightness=-5&image_c0_saturation=2&image_c0_contrast=1&image_c0_sharpness=3&"
     "videoin_c0_whitebalance=auto|15&videoin_c0_maxexposure=30&videoin_c0_enableblc=1|flag&"
     "videoin_c0_mirror=on|flag&videoin_c0_flip=1|flag&videoin_c0_color=0|flag"},
    {"/config/stream_info.cgi",
     "videos=MJPEG\naudios=AAC,AMR\nresolutions=800x600,640x480\nvbitrates=64,512\nqualitymodes=CBR,Fixquality\n"
     "asamplerates22050\nabitrates=16000,32000\nframerates=1,15,30\nqualities=1,2,3,4,5\nmicvol=9...100\n"
     "vprofileformat=0.9\nvprofilenum=1\nvprofile1=theora\nvprofileres1=1024x768\nvprofileurl1=live.sdp\n"
     "aprofilenum=1\naprofile1=AAC\n",
     "StreamInfo",
     "capability_videoin_codec=mjpeg|63 word&capability_videoin_resolution=800x600,640x480|127&"
     "capability_nmediastream=1&capability_videoin_vbitrates=64,512|127&capability_videoin_framerates=1,15,30|63&"
     "capability_videoin_qualities=1,2,3,4,5|15&capability_audioin_codec=aac4,gamr|63 word&"
     "capability_naudiosetting=1&capability_audioin_aac4_bitrate=16000,32000|127&capability_audioin_aac4_samplerate"
     "=22050|127&audioin_c0_s0_codectype=aac4|7 word&capability_audioin_gamr_bitrate=x|unused&"
     "capability_audioin_gamr_samplerate=x|unused&capability_supportaudio=1|flag\nvideoin_c0_s0_codectype=theora|7&"
     "videoin_c0_s0_resolution=1024x768|11&network_rtsp_s0_accessname=live.sdp|63\naudioin_c0_s0_codectype=aac4|7 "
     "word"},
    {"/config/rtspurl.cgi?profileid=3", "profileid=3\nurlentry=live2.sdp\n", "RtspUrl",
     "capability_nmediastream=3\nnetwork_rtsp_s2_accessname=live2.sdp|31"},
    presetList(),
    {"/config/rs485.cgi",
     "enable=yes\nproto=PelcoD\ndevid=7\nbaudrate=9600\ndatabits=8\nparity=Even\nstopbits=1\ndelaytime=500\n",
     "RS485Config",
     "camctrl_c0_isptz=1|flag&camctrl_c0_cameraid=7&uart_i0_ptzdriver=2&uart_i0_baudrate=9600&uart_i0_databit=8&"
     "uart_i0_paritybit=even|7 word&uart_i0_stopbit=1\nuart_ptzdrivers_i2_name=Pelco D|47 word"},
    motion("1", "yes", "|flag ="),
    motion("0", "no", "|unused ="),
    {"/config/io.cgi", "in1=off\nin2=on\nout1=off\n", "DIDOConfig",
     "capability_ndi=2&capability_ndo=1\nstatus_di_i0=0|flag&status_di_i1=1|flag&status_do_i0=on|flag"},
    alarm("di", "3", "<byMotion>0</byMotion><byIn1>1</byIn1><byIn2>1</byIn2>"),
    alarm("motion", "x|unused", "<byMotion>1</byMotion><byIn1>0</byIn1><byIn2>0</byIn2>"),
    {"/cgi/admin/adv_snapshot_cont.cgi",
     "<config><mail><smtpEnable1>1</smtpEnable1><smtpServer1>mail.server</smtpServer1><smtpPort1>25</smtpPort1>"
     "<smtpUser1>mail.user</smtpUser1><smtpPass1>mail=pass</smtpPass1><receiver1>me@example</receiver1><sender1>"
     "cam@example</sender1></mail><ftp><ftpEnable1>1</ftpEnable1><ftpServer1>ftp.server</ftpServer1><ftpPort1>"
     "21</ftpPort1><ftpUser1>ftp.user</ftpUser1><ftpPass1>ftp.pass</ftpPass1><folder1>/cam</folder1><ftpInterval>"
     "120</ftpInterval><passive1>1</passive1><fixFile1>shot</fixFile1></ftp><snapshot><enable>1</enable>"
     "<continuous>0</continuous><schedule><enable>1</enable><profileName>Snapshot</profileName><item01>0,8,30,1,0,"
     "0</item><item02>6,8,30,0,0,0</item><item03></item><item04></item><item05></item><item06></item><item07>"
     "</item><itemSize>2</itemSize></schedule><triggerBy><byMotion>0</byMotion><byIn1>0</byIn1><byIn2>1</byIn2>"
     "</triggerBy><snapTo><toFtp>0</toFtp><toSmtp>1</toSmtp></snapTo></snapshot></config>",
     "Snapshot",
     "event_i1_enable=1|flag&event_i1_inter=2&event_i1_weekday=65&event_i1_begintime=08:30|7 word&"
     "event_i1_endtime=24:00|7 word&event_i1_trigger=di|15 word&event_i1_di=2&event_i1_action_server_i1_enable=1|fl"
     "ag&event_i1_action_server_i2_enable=0|flag&server_i1_type=email|63 word&server_i1_email_address=mail.server|6"
     "3&server_i1_email_port=25&server_i1_email_username=mail.user|31&server_i1_email_passwd=mail=pass|31&"
     "server_i1_email_senderemail=cam@example|63&server_i1_email_recipientemail=me@example|63&"
     "server_i2_type=ftp|63 word&server_i2_ftp_address=ftp.server|63&server_i2_ftp_username=ftp.user|31&"
     "server_i2_ftp_passwd=ftp.pass|31&server_i2_ftp_port=21&server_i2_ftp_passive=1|flag&"
     "server_i2_ftp_location=/cam|31&media_i2_snapshot_prefix=shot|31"},
    {"/cgi/admin/recorder.cgi",
     "<config><record><enable>1</enable><profileID>2</profileID><continuous>0</continuous><prerecord>5</prerecord>"
     "<postrecord>10</postrecord><keepSpace>500</keepSpace><fileLenMin>5</fileLenMin><recycle>1</recycle><recordTo>"
     "<toSamba><enable>1</enable><anonymous>0</anonymous><user>nas.user</user><password>nas.pass</password><server>"
     "nas</server><shareFolder>video</shareFolder></toSamba><toUSB><enable>0</enable></toUSB></recordTo><schedule>"
     "<enable>1</enable><profileName>Record</profileName><item01>1,8,0,1,17,0</item><item02>3,8,0,3,17,0</item>"
     "<item03></item><item04></item><item05></item><item06></item><item07></item><itemSize>2</itemSize></schedule>"
     "<triggerBy><byMotion>0</byMotion><byIn1>1</byIn1><byIn2>1</byIn2></triggerBy></record></config>",
     "Recorder",
     "event_i0_enable=1|flag&event_i0_weekday=40&event_i0_begintime=08:00|7 word&"
     "event_i0_endtime=17:00|7 word&event_i0_trigger=di|15 word&event_i0_di=3&event_i0_action_cf_enable=0|flag&"
     "event_i0_action_server_i0_enable=1|flag&media_i0_videoclip_source=1&media_i0_videoclip_preevent=5&"
     "media_i0_videoclip_maxduration=15&server_i0_ns_username=nas.user|31&server_i0_ns_passwd=nas.pass|31&"
     "server_i0_ns_location=\\\\nas\\video|63 word&recording_i0_limitsize=1|flag&recording_i0_reserveamount=500&"
     "recording_i0_duration=359&recording_i0_cyclic=1|flag"},
};

} // namespace

std::vector<StoreQuestion> FamilyRead::questions() const
{
    std::vector<StoreQuestion> questions;
    for (std::string line : split(answers, '\n')) {
        StoreQuestion question = {"get NameValue 99 0\n", {}, "[MappingGetRoutine_" + routine + "]", ""};
        if (const size_t at = line.find(": "); at != std::string::npos) {
            question.caller = "[" + line.substr(0, at) + "]";
            line.erase(0, at + 2);
        }
        if (const size_t at = line.find("; "); at != std::string::npos) {
            question.log = question.caller + line.substr(at + 2) + "\n";
            line.erase(at);
        }
        for (const std::string &text : split(line, '&')) {
            const size_t equals = text.find('='), bar = text.find('|');
            const StoredValue value = {text.substr(0, equals), text.substr(equals + 1, bar - equals - 1),
                                       bar != std::string::npos ? text.substr(bar + 1) : ""};
            question.request += value.name + (value.is("bare") ? "" : value.is("=") ? "=&" : "&");
            question.answer.push_back(value);
        }
        questions.push_back(question);
    }
    return questions;
}

std::span<const FamilyRead> allReads()
{
    return READS;
}

FakeStore::Settings storedFor(const std::string &url)
{
    FakeStore::Settings settings;
    for (const FamilyRead &read : READS)
        if (read.url == url && settings.empty())
            for (const StoreQuestion &question : read.questions())
                for (const StoredValue &value : question.answer)
                    settings[value.name] = value.value;
    return settings;
}
