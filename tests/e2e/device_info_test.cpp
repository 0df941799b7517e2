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
                {{"system_info_fwversion=110", version, "110\r\nbuild="},
                 {"system_info_fwversion=1.", version, "1\r\nbuild="},
                 {"system_info_fwversion=.7", version, "\r\nbuild=7"},
                 {"layout_title_text=a=b; \xC3\xA4 <%(", "name=Entrance", "name=a=b; \xC3\xA4 <%("},
                 {"system_info_serialnumber=0002D1A", "00:02:D1:A2:B3:C4", "00:02:D1:A"},
                 {"system_info_serialnumber=0002", "00:02:D1:A2:B3:C4", "00:02:"},
                 {"system_info_serialnumber=", "00:02:D1:A2:B3:C4", ""},
                 {"system_info_serialnumber=0002D1A2B3C4DEF", "C4", "C4"},
                 {"capability_ndo=many", "outputs=2", "outputs=0"},
                 {"capability_naudioout=0", "speaker=yes", "speaker=no"},
                 {"network_router=", "gateway=192.168.0.1", "gateway="}});
}

TEST(DeviceInfo, KnowsTheHardwareByTheModel)
{
    const std::pair<std::string, std::string> cases[] = {
        {"a2203b", "B1"}, {"2204", "B1"}, {"2205 2201", "C1"}, {"22 05", "A1"}};
    TestCamera camera;
    for (const auto &[model, revision] : cases) {
        camera.store.set("system_info_extendedmodelname", model);
        EXPECT_NE(camera.get(URL).find("\r\nhw_version=" + revision + "\r\n"), std::string::npos) << model;
    }
}
