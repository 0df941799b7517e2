#include "camera/store/factory_defaults.h"
#include "tests/fakes/test_camera.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{

using Keys = std::vector<std::string>;

/** A URL that can be read and changed. */
struct Resource {
    const char *url;
    std::string selector = {};                     ///< the query that a read needs
    FakeStore::Settings settings = {};             ///< other than the factory's
    std::map<std::string, std::string> names = {}; ///< elements of an XML reply whose keys are called otherwise
    Keys refused = {};                             ///< of the reply, but not to be sent back
    Keys moving = {};                              ///< may differ between two reads
    Keys commands = {}; ///< keys of the store that a change sets to make something happen
};

/** Every URL that has both directions. */
const Resource RESOURCES[] = {
    // Addresses given are taken for new ones, and the camera restarts its network some seconds later.
    {.url = "/config/network.cgi", .commands = {"network_resetip", "system_reset"}},
    // The clock goes on.
    {.url = "/config/datetime.cgi", .moving = {"date", "time"}},
    {.url = "/config/video.cgi", .selector = "profileid=1"},
    {.url = "/config/video.cgi", .selector = "profileid=2"},
    {.url = "/config/video.cgi", .selector = "profileid=3"},
    {.url = "/config/sensor.cgi"},
    {.url = "/config/mic.cgi"},
    {.url = "/config/io.cgi"},
    // The delay is fixed: it is told, and refused.
    {.url = "/config/rs485.cgi", .refused = {"delaytime"}},
    {.url = "/config/audio.cgi", .selector = "profileid=1"},
    {.url = "/config/audio.cgi", .selector = "profileid=2"},
    {.url = "/config/speaker.cgi"},
    {.url = "/config/motion.cgi"},
    {.url = "/cgi/admin/recorder.cgi", .settings = {{"server_i0_ns_location", "\\\\nas\\video"}}},
    {.url = "/cgi/admin/adv_snapshot_cont.cgi", .names = {{"toFtp", "toFTP"}}},
    {.url = "/cgi/admin/adv_do.cgi",
     .names = {{"enable", "toOut1"}, {"byMotion", "out1ByMotion"}, {"byIn1", "out1ByIn1"}, {"byIn2", "out1ByIn2"}}},
    {.url = "/config/camera_info.cgi"},
    {.url = "/config/timestamp.cgi"},
    {.url = "/config/ddns.cgi"},
};

using Pairs = std::vector<std::pair<std::string, std::string>>;

/** The lines of a text reply, or the elements of an XML one under the names that a change gives them. */
Pairs parse(const std::string &body, const std::map<std::string, std::string> &names)
{
    Pairs pairs;
    const bool isXml = body.starts_with("<config>");
    const std::regex pattern(isXml ? "(?:<(\\w+)>)?<(\\w+)>([^<]*)</" : "()([^=\r]*)=([^\r]*)\r\n");
    for (std::sregex_iterator at(body.begin(), body.end(), pattern), end; at != end; ++at) {
        const std::string parent = (*at)[1], own = (*at)[2];
        const bool nested = own == "enable" && (parent == "schedule" || parent == "toSamba" || parent == "toUSB");
        const std::string key = nested ? parent : own;
        pairs.emplace_back(names.contains(key) ? names.at(key) : key, (*at)[3]);
    }
    return pairs;
}

/** All pairs but those of some keys, as a query. */
std::string join(const Pairs &pairs, const Keys &leftOut = {})
{
    std::string text;
    for (const auto &[key, value] : pairs)
        if (std::find(leftOut.begin(), leftOut.end(), key) == leftOut.end())
            text += (text.empty() ? "" : "&") + key + "=" + value;
    return text;
}

/** What differs, as "key: before -> after" lines. */
std::string differences(FakeStore::Settings before, FakeStore::Settings after, const Keys &commands)
{
    std::string text;
    for (const auto &[key, value] : after)
        if (const bool known = before.contains(key); !known || before[key] != value)
            if (std::find(commands.begin(), commands.end(), key) == commands.end())
                text += key + ": " + (known ? before[key] : "(none)") + " -> " + value + "\n";
    return text;
}

class RoundTrip : public testing::TestWithParam<Resource>
{
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Resources, RoundTrip, testing::ValuesIn(RESOURCES), [](const auto &row) {
    std::string name = std::string(row.param.url).substr(row.param.url[2] == 'o' ? 8 : 11) + row.param.selector;
    std::erase_if(name, [](char c) { return isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
});

TEST_P(RoundTrip, WhatIsReadCanBeSentBackAndChangesNothing)
{
    const Resource &resource = GetParam();
    FakeStore::Settings settings = resource.settings;
    for (const camera::Setting &setting : camera::factoryDefaults())
        settings.insert({setting.key, setting.value});
    TestCamera camera({.settings = settings});
    const std::string fifo = camera.root.path("/var/run/iod/iodfifo"); // "/config/io.cgi" waits for a reader
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const FileDescriptor reader(open(fifo.c_str(), O_RDWR | O_CLOEXEC));

    const FakeStore::Settings before = camera.store.all();
    const auto read = [&] {
        const std::string reply = camera.get(resource.url, resource.selector);
        EXPECT_TRUE(reply.starts_with("HTTP/1.1 200 OK\r\n")) << reply;
        return parse(replyBody(reply), resource.names);
    };
    const Pairs first = read();
    const std::string text = join(first, resource.refused);
    ASSERT_FALSE(text.empty());
    for (const bool post : {false, true}) {
        SCOPED_TRACE((post ? "POST " : "GET ") + text);
        const std::string reply = post ? camera.post(resource.url, text) : camera.get(resource.url, text);
        const bool isXml = std::string(resource.url).starts_with("/cgi/admin/");
        EXPECT_EQ(isXml ? reply : join(parse(replyBody(reply), {})), isXml ? XML_OK : text);
        EXPECT_EQ(join(read(), resource.moving), join(first, resource.moving));
        EXPECT_EQ(differences(before, camera.store.all(), resource.commands), "");
    }
}
