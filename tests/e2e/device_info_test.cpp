#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>

namespace
{

constexpr char URL[] = "/common/info.cgi";
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

std::string Replace(std::string text, const std::string &from, const std::string &to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

} // namespace

TEST(DeviceInfo, IsReadWithOneRequest)
{
    TestCamera camera;
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL), OkReply(BODY));
    EXPECT_EQ(camera.store.Requests(), std::vector<std::string>{REQUEST});
}

TEST(DeviceInfo, CannotBeChanged)
{
    TestCamera camera;
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL, "name=x"), BAD_REQUEST);
    EXPECT_EQ(camera.Get(URL, "x"), BAD_REQUEST);
    EXPECT_EQ(camera.Post(URL, ""), BAD_REQUEST);
    EXPECT_EQ(camera.Post(URL, "name=x"), BAD_REQUEST);
    EXPECT_TRUE(camera.store.Requests().empty());
}

TEST(DeviceInfo, DependsOnTheStoreValueByValue)
{
    const std::string longest(63, 'x');
    const struct {
        const char *description;
        const char *key;
        std::string value;
        std::string from, to; ///< how the body differs
    } cases[] = {
        {"version and build", "system_info_fwversion", "1.10", "1.02\r\nbuild=07", "1\r\nbuild=10"},
        {"no dot", "system_info_fwversion", "110", "1.02\r\nbuild=07", "110\r\nbuild="},
        {"dot at the end", "system_info_fwversion", "1.", "1.02\r\nbuild=07", "1\r\nbuild="},
        {"dot at the beginning", "system_info_fwversion", ".7", "1.02\r\nbuild=07", "\r\nbuild=7"},
        {"only a dot", "system_info_fwversion", ".", "1.02\r\nbuild=07", "\r\nbuild="},
        {"longest", "system_info_fwversion", longest, "1.02\r\nbuild=07", longest + "\r\nbuild="},
        {"empty name", "layout_title_text", "", "name=Entrance", "name="},
        {"longest name", "layout_title_text", longest, "name=Entrance", "name=" + longest},
        {"a name with signs", "layout_title_text", "a=b; \xC3\xA4 <%(&", "name=Entrance",
         "name=a=b; \xC3\xA4 <%(&"},
        {"short serial number", "system_info_serialnumber", "0002D1A", "00:02:D1:A2:B3:C4", "00:02:D1:A"},
        {"shorter still", "system_info_serialnumber", "0002", "00:02:D1:A2:B3:C4", "00:02:"},
        {"no serial number", "system_info_serialnumber", "", "00:02:D1:A2:B3:C4", ""},
        {"long serial number", "system_info_serialnumber", "0002D1A2B3C4DEF", "C4", "C4"},
        {"the last model wins", "system_info_extendedmodelname", "2205/2202", "KX-2202\r\nproduct=KX-2202",
         "2205/2202\r\nproduct=2205/2202"},
        {"inputs", "capability_ndi", "-1", "inputs=2", "inputs=-1"},
        {"outputs", "capability_ndo", "1234567", "outputs=2", "outputs=1234567"},
        {"outputs are no number", "capability_ndo", "many", "outputs=2", "outputs=0"},
        {"no speaker", "capability_naudioout", "0", "speaker=yes", "speaker=no"},
        {"negative speakers", "capability_naudioout", "-1", "speaker=yes", "speaker=no"},
        {"several speakers", "capability_naudioout", "2", "speaker=yes", "speaker=yes"},
        {"video output", "capability_supportvideoout", "yes", "videoout=no", "videoout=yes"},
        {"no PTZ", "capability_ptzenabled", "0", "P,T,Z", "P,T,Z"},
        {"longest address", "network_ipaddress", "192.168.100.200", "192.168.0.20", "192.168.100.200"},
        {"empty router", "network_router", "", "gateway=192.168.0.1", "gateway="},
    };
    TestCamera camera;
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.key) + ": " + c.description);
        camera.store.Set(c.key, c.value);
        std::string body = Replace(BODY, c.from, c.to);
        if (c.key == std::string("system_info_extendedmodelname"))
            body = Replace(body, "hw_version=B1", "hw_version=C1");
        EXPECT_EQ(camera.Get(URL), OkReply(body));
        camera.store.Set(TestCamera::DefaultSettings());
    }
}

TEST(DeviceInfo, KnowsTheHardwareByTheModel)
{
    const struct {
        const char *model, *revision;
    } cases[] = {{"X2201", "A1"}, {"2202", "B1"}, {"a2203b", "B1"},        {"2204", "B1"},      {"KX-2205", "C1"},
                 {"KX", "A1"},    {"", "A1"},     {"2202 and 2205", "C1"}, {"2205 2201", "C1"}, {"22 05", "A1"}};
    TestCamera camera;
    for (const auto &c : cases) {
        camera.store.Set("system_info_extendedmodelname", c.model);
        const std::string reply = camera.Get(URL);
        EXPECT_NE(reply.find(std::string("hw_version=") + c.revision + "\r\n"), std::string::npos) << c.model;
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
    for (const auto &[key, limit] : LIMITS) {
        SCOPED_TRACE(key);
        camera.store.Set(key, std::string(limit, '1'));
        EXPECT_TRUE(camera.Get(URL).starts_with("HTTP/1.1 200 OK\r\n")) << "the longest";
        camera.store.Set(key, std::string(limit + 1, '1'));
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << "one longer";
        camera.store.Remove(key);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << "absent";
        camera.store.Set(TestCamera::DefaultSettings());
    }
    for (const char *unused : {"system_info_modelname", "system_info_firmwareversion", "system_hostname"})
        camera.store.Remove(unused);
    EXPECT_EQ(camera.Get(URL), OkReply(BODY));
}
