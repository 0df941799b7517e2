#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/common/info.cgi";
const std::string REQUEST =
    "get NameValue 99 0\n"
    "system_info_modelname&system_info_extendedmodelname&system_info_firmwareversion&system_hostname&"
    "system_info_serialnumber&network_ipaddress&network_subnet&network_router&capability_ndi&capability_ndo&"
    "capability_supportvideoout&capability_ptzenabled&capability_naudioout&system_info_fwversion&"
    "layout_title_text&";
const std::string BODY = "model=KX-2202\r\nproduct=KX-2202\r\nversion=1.02\r\nbuild=07\r\nkelpa=1.9.5\r\n"
                         "name=Entrance\r\nmacaddr=00:02:D1:A2:B3:C4\r\nipaddr=192.168.0.20\r\n"
                         "netmask=255.255.255.0\r\ngateway=192.168.0.1\r\ninputs=2\r\noutputs=2\r\nspeaker=yes\r\n"
                         "videoout=no\r\nhw_version=B1\r\nptz=P,T,Z\r\n";

} // namespace

TEST(DeviceInfo, IsReadWithOneRequestAndCannotBeChanged)
{
    TestCamera camera;
    ExpectRefused(camera, URL, "name=x x");
    EXPECT_EQ(camera.Post(URL, ""), BAD_REQUEST);
    EXPECT_EQ(camera.Post(URL, "name=x"), BAD_REQUEST);
    EXPECT_TRUE(camera.store.Requests().empty());
    EXPECT_EQ(camera.Get(URL), OkReply(BODY));
    EXPECT_EQ(camera.store.Requests(), std::vector<std::string>{REQUEST});
}

TEST(DeviceInfo, DependsOnTheStoreValueByValue)
{
    const std::string longest(63, 'x');
    const std::string version = "1.02\r\nbuild=07";
    TestCamera camera;
    ExpectReads(camera, URL, BODY,
                {{"no dot", "system_info_fwversion=110", version, "110\r\nbuild="},
                 {"dot at the end", "system_info_fwversion=1.", version, "1\r\nbuild="},
                 {"dot at the beginning", "system_info_fwversion=.7", version, "\r\nbuild=7"},
                 {"only a dot", "system_info_fwversion=.", version, "\r\nbuild="},
                 {"longest", "system_info_fwversion=" + longest, version, longest + "\r\nbuild="},
                 {"empty name", "layout_title_text=", "name=Entrance", "name="},
                 {"any bytes", "layout_title_text=a=b; \xC3\xA4 <%(", "name=Entrance", "name=a=b; \xC3\xA4 <%("},
                 {"shorter", "system_info_serialnumber=0002D1A", "00:02:D1:A2:B3:C4", "00:02:D1:A"},
                 {"whole pairs", "system_info_serialnumber=0002", "00:02:D1:A2:B3:C4", "00:02:"},
                 {"none", "system_info_serialnumber=", "00:02:D1:A2:B3:C4", ""},
                 {"longer", "system_info_serialnumber=0002D1A2B3C4DEF", "C4", "C4"},
                 {"negative number", "capability_ndi=-1", "inputs=2", "inputs=-1"},
                 {"longest number", "capability_ndo=1234567", "outputs=2", "outputs=1234567"},
                 {"no number", "capability_ndo=many", "outputs=2", "outputs=0"},
                 {"no speaker", "capability_naudioout=0", "speaker=yes", "speaker=no"},
                 {"negative speakers", "capability_naudioout=-1", "speaker=yes", "speaker=no"},
                 {"several speakers", "capability_naudioout=2", "speaker=yes", "speaker=yes"},
                 {"video output", "capability_supportvideoout=yes", "videoout=no", "videoout=yes"},
                 {"not looked at", "capability_ptzenabled=0", "P,T,Z", "P,T,Z"},
                 {"empty address", "network_router=", "gateway=192.168.0.1", "gateway="}});
}

TEST(DeviceInfo, KnowsTheHardwareByTheModel)
{
    const std::pair<std::string, std::string> cases[] = {
        {"X2201", "A1"}, {"2202", "B1"},          {"a2203b", "B1"},    {"2204", "B1"}, {"KX-2205", "C1"},
        {"", "A1"},      {"2202 and 2205", "C1"}, {"2205 2201", "C1"}, {"22 05", "A1"}};
    TestCamera camera;
    for (const auto &[model, revision] : cases) {
        camera.store.Set("system_info_extendedmodelname", model);
        const std::string body = Replaced(BODY, "KX-2202\r\nproduct=KX-2202", model + "\r\nproduct=" + model);
        EXPECT_EQ(camera.Get(URL), OkReply(Replaced(body, "hw_version=B1", "hw_version=" + revision)));
    }
}

TEST(DeviceInfo, IsWholeOrAnError)
{
    TestCamera camera;
    const std::map<std::string, size_t> LIMITS = {
        {"system_info_extendedmodelname", 63},
        {"system_info_fwversion", 63},
        {"layout_title_text", 63},
        {"system_info_serialnumber", 15},
        {"network_ipaddress", 15},
        {"network_subnet", 15},
        {"network_router", 15},
        {"capability_ndi", 7},
        {"capability_ndo", 7},
        {"capability_naudioout", 7},
        {"capability_supportvideoout", 3},
        {"capability_ptzenabled", 7},
    };
    FakeStore::Settings longest;
    for (const auto &[key, limit] : LIMITS) {
        longest[key] = std::string(limit, '1');
        ExpectUnreadable(camera, URL, key + "=1" + longest[key]);
    }
    camera.store.Set(longest);
    ExpectAllNeeded(camera, URL, longest);
    camera.store.Set(TestCamera::DefaultSettings());
    for (const char *unused : {"system_info_modelname", "system_info_firmwareversion", "system_hostname"})
        camera.store.Remove(unused);
    EXPECT_EQ(camera.Get(URL), OkReply(BODY));
}
