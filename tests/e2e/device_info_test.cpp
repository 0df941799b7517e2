#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/common/info.cgi";

} // namespace

TEST(DeviceInfo, DependsOnTheStoreValueByValue)
{
    const std::string version = "1.02\r\nbuild=07";
    TestCamera camera;
    expectReads(camera, URL,
                {{"no dot", "system_info_fwversion=110", version, "110\r\nbuild="},
                 {"dot at the end", "system_info_fwversion=1.", version, "1\r\nbuild="},
                 {"dot at the beginning", "system_info_fwversion=.7", version, "\r\nbuild=7"},
                 {"only a dot", "system_info_fwversion=.", version, "\r\nbuild="},
                 {"empty name", "layout_title_text=", "name=Entrance", "name="},
                 {"any bytes", "layout_title_text=a=b; \xC3\xA4 <%(", "name=Entrance", "name=a=b; \xC3\xA4 <%("},
                 {"shorter", "system_info_serialnumber=0002D1A", "00:02:D1:A2:B3:C4", "00:02:D1:A"},
                 {"whole pairs", "system_info_serialnumber=0002", "00:02:D1:A2:B3:C4", "00:02:"},
                 {"none", "system_info_serialnumber=", "00:02:D1:A2:B3:C4", ""},
                 {"longer", "system_info_serialnumber=0002D1A2B3C4DEF", "C4", "C4"},
                 {"negative number", "capability_ndi=-1", "inputs=2", "inputs=-1"},
                 {"no number", "capability_ndo=many", "outputs=2", "outputs=0"},
                 {"no speaker", "capability_naudioout=0", "speaker=yes", "speaker=no"},
                 {"negative speakers", "capability_naudioout=-1", "speaker=yes", "speaker=no"},
                 {"empty address", "network_router=", "gateway=192.168.0.1", "gateway="}});
}

TEST(DeviceInfo, KnowsTheHardwareByTheModel)
{
    const std::pair<std::string, std::string> cases[] = {
        {"X2201", "A1"}, {"2202", "B1"},          {"a2203b", "B1"},    {"2204", "B1"}, {"KX-2205", "C1"},
        {"", "A1"},      {"2202 and 2205", "C1"}, {"2205 2201", "C1"}, {"22 05", "A1"}};
    TestCamera camera;
    for (const auto &[model, revision] : cases) {
        camera.store.set("system_info_extendedmodelname", model);
        EXPECT_NE(camera.get(URL).find("\r\nhw_version=" + revision + "\r\n"), std::string::npos) << model;
    }
}
