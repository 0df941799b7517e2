#include "camera/factory_defaults.h"
#include "camera/store.h"
#include "camera/store_protocol.h"
#include "temporary_folder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace
{

using namespace camera;

const std::string GET = "get NameValue 99 0\n";
const std::string SET = "set NameValue 99 0 0\n";

class StoreTest : public testing::Test
{
  protected:
    TemporaryFolder folder;
    std::string file = folder.path("store");
};

TEST_F(StoreTest, AnswersOneLinePerKeyThatIsHeldInTheOrderAsked)
{
    Store store(file);
    store.set(std::vector<Setting>{{"a", "1"}, {"b", ""}, {"c", "x=y z"}});
    struct Case {
        const char *what;
        std::string keys;
        std::string answer;
    };
    const Case cases[] = {
        {"order of the request, not of the store", "c&a&", "c=x=y z\na=1\n"},
        {"no end mark", "a&b", "a=1\nb=\n"},
        {"key with an equals sign", "a=&b=", "a=1\nb=\n"},
        {"key that is not held", "a&nothing&c", "a=1\nc=x=y z\n"},
        {"empty pieces", "&&a&&", "a=1\n"},
        {"typed by hand", "a&b\n", "a=1\nb=\n"},
        {"no key", "", ""},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.what);
        const StoreRequest request = parseStoreRequest(GET + test.keys);
        ASSERT_TRUE(std::holds_alternative<StoreGet>(request));
        EXPECT_EQ(composeStoreAnswer(store, std::get<StoreGet>(request)), test.answer);
    }
}

TEST(StoreProtocol, SetKeepsItsPairsInOrder)
{
    struct Case {
        const char *what;
        std::string text;
        std::vector<Setting> settings;
        std::string answer;
    };
    const Case cases[] = {
        {"one pair", "network_restart=1", {{"network_restart", "1"}}, "network_restart=1\n"},
        {"leading and trailing mark", "&a=1&b=2&", {{"a", "1"}, {"b", "2"}}, "a=1\nb=2\n"},
        {"empty value", "a=&", {{"a", ""}}, "a=\n"},
        {"equals sign in the value", "a=b=c=", {{"a", "b=c="}}, "a=b=c=\n"},
        {"backslashes", R"(a=\\nas\video&)", {{"a", R"(\\nas\video)"}}, "a=\\\\nas\\video\n"},
        {"piece that is no pair", "a&b=1", {{"b", "1"}}, "b=1\n"},
        {"nothing", "", {}, "\n"},
        {"nothing but marks", "&&", {}, "\n"},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.what);
        const StoreRequest request = parseStoreRequest(SET + test.text);
        ASSERT_TRUE(std::holds_alternative<StoreSet>(request));
        EXPECT_EQ(std::get<StoreSet>(request).settings, test.settings);
        EXPECT_EQ(composeStoreAnswer(std::get<StoreSet>(request)), test.answer);
    }
}

TEST(StoreProtocol, TellsHalfARequestFromGarbage)
{
    for (const std::string &header : {GET, SET})
        for (size_t length = 0; length < header.size(); ++length)
            EXPECT_TRUE(std::holds_alternative<StoreIncomplete>(parseStoreRequest(header.substr(0, length))))
                << length;
    const std::string garbage[] = {
        "GET / HTTP/1.1\r\n\r\n",
        "get NameValue 99 1\n",
        "set NameValue 99 0\na=1",
        SET + "a=1&b=\x01", // no answer line could carry it
        SET + "a=1&b=1\n2", //
        SET + "a b=1",      // no name of a key
        SET + "=1",         //
        std::string(1, '\0'),
    };
    for (const std::string &text : garbage)
        EXPECT_TRUE(std::holds_alternative<StoreMalformed>(parseStoreRequest(text))) << text;
}

TEST_F(StoreTest, SettingsSurviveTheProcess)
{
    {
        Store store(file);
        store.set("name", "Hall");
        store.set("name", "Hall 2");
    }
    EXPECT_EQ(Store(file).text("name"), "Hall 2");
}

TEST_F(StoreTest, FailedChangeIsNowhere)
{
    Store store(file);
    store.set("a", "1");
    int told = 0;
    const Subscription watch = store.watch("a", [&](const Setting &) { ++told; });

    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other,
                           "CREATE TRIGGER refuse BEFORE INSERT ON settings WHEN NEW.key = 'bad' "
                           "BEGIN SELECT RAISE(ABORT, 'refused'); END",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(other);

    EXPECT_THROW(store.set(std::vector<Setting>{{"a", "2"}, {"bad", "1"}}), StoreError);
    EXPECT_EQ(store.text("a"), "1");
    EXPECT_EQ(told, 0);
    store.set("a", "3"); // the store goes on
    EXPECT_EQ(Store(file).text("a"), "3");
}

TEST_F(StoreTest, FileThatIsNoStoreIsRefused)
{
    FILE *out = fopen(file.c_str(), "w");
    ASSERT_NE(out, nullptr);
    for (int i = 0; i < 1000; ++i)
        fputs("this is no database\n", out);
    fclose(out);
    EXPECT_THROW(Store{file}, StoreError);
}

TEST_F(StoreTest, WatchersHearOfEverySetOfTheirKeys)
{
    Store store(file);
    std::vector<std::string> heard;
    const auto hear = [&](const Setting &setting) { heard.push_back(setting.key + "=" + setting.value); };
    Subscription one = store.watch("image_c0_contrast", hear);
    const Subscription all = store.watchPrefix("image_c0_", hear);
    store.set("image_c0_contrast", "1");
    store.set("image_c0_contrast", "1"); // a command is the same value again
    store.set("videoin_c0_flip", "1");
    one.reset();
    store.set("image_c0_contrast", "2");
    EXPECT_EQ(heard, (std::vector<std::string>{"image_c0_contrast=1", "image_c0_contrast=1", "image_c0_contrast=1",
                                               "image_c0_contrast=1", "image_c0_contrast=2"}));
}

TEST_F(StoreTest, WatcherMaySetAndEndItself)
{
    Store store(file);
    Subscription self;
    self = store.watch("a", [&](const Setting &) {
        self.reset();
        store.set("a", "from the watcher");
    });
    store.set("a", "1");
    EXPECT_EQ(store.text("a"), "from the watcher");
}

TEST_F(StoreTest, PowerOnKeepsSettingsAndForgetsTheStateOfTheHardware)
{
    Store store(file);
    powerOn(store);
    store.set(std::vector<Setting>{{"layout_title_text", "Hall"}, {"status_di_i0", "1"}, {"network_restart", "1"}});
    powerOn(store);
    EXPECT_EQ(store.text("layout_title_text"), "Hall");
    EXPECT_EQ(store.text("status_di_i0"), "0");
    EXPECT_EQ(store.text("network_restart"), "0");
}

TEST_F(StoreTest, FactoryDefaultsFitTheDaemonAndEachOther)
{
    Store store(file);
    powerOn(store);

    // Longest values that the daemon's readers take.
    struct Limit {
        const char *prefix;
        size_t longest;
    };
    const Limit limits[] = {
        {"capability_n", 7},
        {"capability_videoin_codec", 31},
        {"capability_videoin_resolution", 127},
        {"capability_videoin_vbitrates", 127},
        {"capability_videoin_framerates", 63},
        {"capability_videoin_qualities", 15},
        {"capability_audioin_", 127},
        {"capability_audioin_codec", 63},
        {"capability_supportvideoout", 3},
        {"camctrl_c0_preset_", 47},
        {"camctrl_c0_cameraid", 7},
        {"uart_i0_", 7},
        {"uart_ptzdrivers_", 47},
        {"system_info_", 63},
        {"system_info_serialnumber", 15},
        {"system_timezoneindex", 7},
        {"system_ntp", 39},
        {"layout_title_text", 63},
        {"network_ipaddress", 15},
        {"network_rtsp_", 31},
        {"videoin_c0_s", 11},
        {"audioin_c0_s", 7},
        {"motion_c0_win_i0_l", 7},
        {"event_i0_begintime", 7},
        {"event_i0_trigger", 15},
    };
    for (const Setting &setting : factoryDefaults()) {
        EXPECT_EQ(setting.value.find_first_of("&\n|#"), std::string::npos) << setting.key;
        for (const Limit &limit : limits)
            if (setting.key.starts_with(limit.prefix)) {
                EXPECT_LE(setting.value.size(), limit.longest) << setting.key;
            }
    }

    // Counted things are all there, and no more of them.
    struct Counted {
        const char *count;
        const char *before;
        const char *after;
    };
    const Counted counted[] = {
        {"capability_ndi", "status_di_i", ""},
        {"capability_ndo", "status_do_i", ""},
        {"capability_nmotion", "motion_c0_win_i", "_enable"},
        {"capability_nmediastream", "videoin_c0_s", "_codectype"},
        {"capability_nmediastream", "network_rtsp_s", "_accessname"},
        {"capability_naudiosetting", "audioin_c0_s", "_codectype"},
        {"capability_nptzdrivers", "uart_ptzdrivers_i", "_name"},
    };
    for (const Counted &test : counted) {
        const int count = store.number(test.count);
        EXPECT_GT(count, 0) << test.count;
        for (int i = 0; i <= count; ++i)
            EXPECT_EQ(store.find(test.before + std::to_string(i) + test.after) != nullptr, i < count)
                << test.before << i;
    }
    for (int stream = 0; stream < store.number("capability_nmediastream"); ++stream) {
        const std::string prefix = "videoin_c0_s" + std::to_string(stream) + "_";
        EXPECT_NE(store.text("capability_videoin_codec").find(store.text(prefix + "codectype")), std::string::npos);
        EXPECT_NE(store.text("capability_videoin_resolution").find(store.text(prefix + "resolution")),
                  std::string::npos);
    }
    // The windows that are on are the ones that the event slots look at.
    int mask = 0;
    for (int i = 0; i < store.number("capability_nmotion"); ++i)
        mask |= store.number("motion_c0_win_i" + std::to_string(i) + "_enable") << i;
    for (const char *key : {"event_i0_mdwin", "event_i1_mdwin", "event_i2_mdwin"})
        EXPECT_EQ(store.number(key), mask) << key;
    EXPECT_NE(store.find("camctrl_c0_preset_i19_name"), nullptr);
}

} // namespace
