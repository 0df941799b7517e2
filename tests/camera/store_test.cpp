#include "camera/base/files.h"
#include "camera/neighbours/store/store_protocol.h"
#include "camera/store/factory_defaults.h"
#include "camera/store/store.h"
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
    const std::pair<std::string, std::string> cases[] = {
        {"c&a&", "c=x=y z\na=1\n"}, // in the order of the request, not of the store
        {"a&b", "a=1\nb=\n"},       {"a=&b=", "a=1\nb=\n"}, {"a&nothing&c", "a=1\nc=x=y z\n"},
        {"&&a&&", "a=1\n"},         {"a&b\n", "a=1\nb=\n"}, {"", ""},
    };
    for (const auto &[keys, answer] : cases) {
        const StoreRequest request = parseStoreRequest(GET + keys);
        ASSERT_TRUE(std::holds_alternative<StoreGet>(request)) << keys;
        EXPECT_EQ(composeStoreAnswer(store, std::get<StoreGet>(request)), answer) << keys;
    }
}

TEST(StoreProtocol, SetKeepsItsPairsInOrder)
{
    const std::tuple<std::string, std::vector<Setting>, std::string> cases[] = {
        {"&a=1&b=2&", {{"a", "1"}, {"b", "2"}}, "a=1\nb=2\n"},
        {"a=b=c=", {{"a", "b=c="}}, "a=b=c=\n"},
        {R"(a=\\nas\video&)", {{"a", R"(\\nas\video)"}}, "a=\\\\nas\\video\n"},
        {"a&b=1", {{"b", "1"}}, "b=1\n"},
        {"", {}, "\n"},
    };
    for (const auto &[text, settings, answer] : cases) {
        const StoreRequest request = parseStoreRequest(SET + text);
        ASSERT_TRUE(std::holds_alternative<StoreSet>(request)) << text;
        EXPECT_EQ(std::get<StoreSet>(request).settings, settings) << text;
        EXPECT_EQ(composeStoreAnswer(std::get<StoreSet>(request)), answer) << text;
    }
}

TEST(StoreProtocol, TellsHalfARequestFromGarbage)
{
    for (const std::string &header : {GET, SET})
        for (size_t length = 0; length < header.size(); ++length)
            EXPECT_TRUE(std::holds_alternative<StoreIncomplete>(parseStoreRequest(header.substr(0, length))))
                << length;
    for (const std::string text : {"GET / HTTP/1.1\r\n\r\n", "get NameValue 99 1\n", "set NameValue 99 0\na=1"})
        EXPECT_TRUE(std::holds_alternative<StoreMalformed>(parseStoreRequest(text))) << text;
    for (const std::string pairs : {"a=1&b=\x01", "a=1&b=1\n2", "a b=1", "=1"})
        EXPECT_TRUE(std::holds_alternative<StoreMalformed>(parseStoreRequest(SET + pairs))) << pairs;
}

TEST_F(StoreTest, FailedChangeIsNowhere)
{
    Store store(file);
    store.set("a", "1");
    int told = 0;
    const Subscription watch = store.watch("a", [&](const Setting &) { ++told; });

    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
    const char *const refuse = "CREATE TRIGGER refuse BEFORE INSERT ON settings WHEN NEW.key = 'bad' "
                               "BEGIN SELECT RAISE(ABORT, 'refused'); END";
    ASSERT_EQ(sqlite3_exec(other, refuse, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);

    EXPECT_THROW(store.set(std::vector<Setting>{{"a", "2"}, {"bad", "1"}}), StoreError);
    EXPECT_EQ(store.text("a"), "1");
    EXPECT_EQ(told, 0);
    store.set("a", "3"); // the store goes on
    EXPECT_EQ(Store(file).text("a"), "3");
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
    const Subscription setter = store.watch("image_c0_contrast", [&](const Setting &) { store.set("a", "set"); });
    store.set("image_c0_contrast", "2");
    EXPECT_EQ(store.text("a"), "set") << "a watcher may set";
    EXPECT_EQ(heard, (std::vector<std::string>{"image_c0_contrast=1", "image_c0_contrast=1", "image_c0_contrast=1",
                                               "image_c0_contrast=1", "image_c0_contrast=2"}));
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

} // namespace
