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

struct Pair {
    std::string key;
    std::string value;
};

/** The lines of a text reply, or the elements of an XML one under the names that a change gives them. */
std::vector<Pair> parse(const std::string &body, const std::map<std::string, std::string> &names)
{
    std::vector<Pair> pairs;
    const bool isXml = body.starts_with("<config>");
    const std::regex pattern(isXml ? "(?:<(\\w+)>)?<(\\w+)>([^<]*)</" : "()([^=\r]*)=([^\r]*)\r\n");
    for (std::sregex_iterator at(body.begin(), body.end(), pattern), end; at != end; ++at) {
        std::string key = (*at)[2];
        const std::string parent = (*at)[1];
        if (key == "enable" && (parent == "schedule" || parent == "toSamba" || parent == "toUSB"))
            key = parent;
        const auto renamed = names.find(key);
        pairs.push_back({renamed != names.end() ? renamed->second : key, (*at)[3]});
    }
    return pairs;
}

std::vector<Pair> without(std::vector<Pair> pairs, const Keys &keys)
{
    std::erase_if(pairs, [&](const Pair &p) { return std::find(keys.begin(), keys.end(), p.key) != keys.end(); });
    return pairs;
}

std::string join(const std::vector<Pair> &pairs)
{
    std::string text;
    for (const Pair &pair : pairs)
        text += (text.empty() ? "" : "&") + pair.key + "=" + pair.value;
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

FakeStore::Settings settingsOf(const Resource &resource)
{
    FakeStore::Settings settings = resource.settings;
    for (const camera::Setting &setting : camera::factoryDefaults())
        settings.insert({setting.key, setting.value});
    return settings;
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
    TestCamera camera({.settings = settingsOf(resource)});
    const std::string fifo = camera.root.path("/var/run/iod/iodfifo"); // "/config/io.cgi" waits for a reader
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const FileDescriptor reader(open(fifo.c_str(), O_RDWR | O_CLOEXEC));

    const FakeStore::Settings before = camera.store.all();
    const auto read = [&] {
        const std::string reply = camera.get(resource.url, resource.selector);
        EXPECT_TRUE(reply.starts_with("HTTP/1.1 200 OK\r\n")) << reply;
        return parse(replyBody(reply), resource.names);
    };
    const std::vector<Pair> first = read();
    const std::vector<Pair> sent = without(first, resource.refused);
    ASSERT_FALSE(sent.empty());
    for (const bool post : {false, true}) {
        const std::string text = join(sent);
        SCOPED_TRACE((post ? "POST " : "GET ") + text);
        const std::string reply = post ? camera.post(resource.url, text) : camera.get(resource.url, text);
        if (std::string(resource.url).starts_with("/cgi/admin/")) {
            EXPECT_EQ(reply, XML_OK);
        } else {
            EXPECT_EQ(join(parse(replyBody(reply), {})), text) << "the echo";
        }
        EXPECT_EQ(join(without(read(), resource.moving)), join(without(first, resource.moving)));
        EXPECT_EQ(differences(before, camera.store.all(), resource.commands), "");
    }
}
