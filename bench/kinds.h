#pragma once

#include <array>
#include <string_view>

/** What the daemon asks the store at its start, in this order, and the answers. */
struct StartCall {
    std::string_view request;
    std::string_view reply;
};
inline constexpr std::array START_CALLS = {
    StartCall{"get NameValue 99 0\ncapability_ndi&capability_nmotion&", "capability_ndi=2\ncapability_nmotion=3\n"},
    StartCall{"get NameValue 99 0\ncapability_naudioout&", "capability_naudioout=1\n"},
    StartCall{"get NameValue 99 0\naudioout_c0_speaker_enable&", "audioout_c0_speaker_enable=1\n"},
};

/**
 * One kind of request, with all that goes over the wires for it. The daemon works the texts out; the floor program
 * has them from here.
 */
struct Kind {
    const char *name;
    std::string_view method;
    std::string_view url;
    std::string_view query;
    std::string_view storeRequest; ///< empty: answered without a store call
    std::string_view storeReply;
    std::string_view reply;
    int clockReads; ///< how often the daemon reads its clock on the way
};

inline constexpr std::array KINDS = {
    Kind{
        .name = "info",
        .method = "GET",
        .url = "/common/info.cgi",
        .query = "",
        .storeRequest = "get NameValue 99 0\n"
                        "system_info_modelname&system_info_extendedmodelname&system_info_firmwareversion&"
                        "system_hostname&system_info_serialnumber&network_ipaddress&network_subnet&network_router&"
                        "capability_ndi&capability_ndo&capability_supportvideoout&capability_ptzenabled&"
                        "capability_naudioout&system_info_fwversion&layout_title_text&",
        .storeReply = "system_info_modelname=KC-2204\nsystem_info_extendedmodelname=KC-2204-V\n"
                      "system_info_firmwareversion=1.02.07\nsystem_hostname=camera\n"
                      "system_info_serialnumber=0002D1A1B2C3\nnetwork_ipaddress=192.168.0.20\n"
                      "network_subnet=255.255.255.0\nnetwork_router=192.168.0.1\ncapability_ndi=2\n"
                      "capability_ndo=2\ncapability_supportvideoout=yes\ncapability_ptzenabled=1\n"
                      "capability_naudioout=1\nsystem_info_fwversion=1.02.07\nlayout_title_text=Hall\n",
        .reply = "HTTP/1.1 200 OK\r\nContent-Length: 250 \r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
                 "model=KC-2204-V\r\nproduct=KC-2204-V\r\nversion=1.02\r\nbuild=07\r\nkelpa=1.9.5\r\nname=Hall\r\n"
                 "macaddr=00:02:D1:A1:B2:C3\r\nipaddr=192.168.0.20\r\nnetmask=255.255.255.0\r\n"
                 "gateway=192.168.0.1\r\ninputs=2\r\noutputs=2\r\nspeaker=yes\r\nvideoout=yes\r\nhw_version=B1\r\n"
                 "ptz=P,T,Z\r\n",
        .clockReads = 2,
    },
    Kind{
        .name = "refused",
        .method = "GET",
        .url = "/config/unknown.cgi",
        .query = "",
        .storeRequest = "",
        .storeReply = "",
        .reply = "HTTP/1.1 400 Bad Request\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n",
        .clockReads = 1,
    },
    Kind{
        .name = "set",
        .method = "GET",
        .url = "/config/camera_info.cgi",
        .query = "name=Hall",
        .storeRequest = "set NameValue 99 0 0\nlayout_title_text=Hall&",
        .storeReply = "layout_title_text=Hall\n",
        .reply = "HTTP/1.1 200 OK\r\nContent-Length: 11  \r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
                 "name=Hall\r\n",
        .clockReads = 2,
    },
};
