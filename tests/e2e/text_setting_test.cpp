#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>

namespace
{

/** The two settings, alike but for their names. */
struct Setting {
    const char *url;
    const char *key;
    const char *stored;
    const char *parser;
};
constexpr Setting SETTINGS[] = {
    {"/config/camera_info.cgi", "name=", "layout_title_text", "Parser_CameraInfo_Set"},
    {"/config/timestamp.cgi", "label=", "videoin_c0_text", "Parser_TimeStamp_Set"},
};

class TextSetting : public testing::TestWithParam<Setting>
{
  protected:
    const Setting &setting = GetParam();
    const std::string url = setting.url;
    const std::string key = setting.key;
    TestCamera camera;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Both, TextSetting, testing::ValuesIn(SETTINGS), [](const auto &row) {
    return row.param.key == std::string("name=") ? "CameraInfo" : "TimeStamp";
});

TEST_P(TextSetting, IsChangedAndRead)
{
    // Any byte that is not forbidden, other keys around it, no text.
    for (const std::string &text :
         {std::string(63, 'x'), std::string("a=b \xC3\xA4;'\"`$|\\\t#\xFF"), std::string()})
        for (const bool post : {false, true}) {
            const std::string query = "a=1&" + key + text + "&b=2", echo = "a=1\r\n" + key + text + "\r\nb=2\r\n";
            EXPECT_EQ(post ? camera.post(url, query) : camera.get(url, query), okReply(echo));
            EXPECT_EQ(camera.store.lastSet(), setting.stored + ("=" + text) + "&");
            EXPECT_EQ(camera.get(url), okReply(key + text + "\r\n"));
        }
    camera.store.refuse();
    EXPECT_EQ(camera.get(url, key + "x"), UPDATE_FAILED);
}

TEST_P(TextSetting, RefusesABadRequestAndChangesNothing)
{
    const std::string full = key + "x&" + std::string(4095 - key.size() - 2, 'y');
    const std::string filtered = std::string("[") + setting.parser + "]XSS Protect\n";
    const std::string empty = std::string("[") + setting.parser + "]QeryString and PostBody are NULL\n";
    const struct {
        std::string text, log;
    } cases[] = {
        {key + std::string(64, 'x'), ""},
        {key.substr(0, key.size() - 1), ""},
        {key + "a&b=(", filtered},
        {key + "a&", filtered},
        {"0=1&" + key + "x", "[GetStringValueFromText]Incorrect source data or keyword data\n"},
        {full, empty},
        {full + "zzz", empty},
    };
    camera.store.clearRequests();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const size_t logged = camera.log().size();
        EXPECT_EQ(camera.get(url, c.text), BAD_REQUEST);
        EXPECT_EQ(camera.post(url, c.text), BAD_REQUEST);
        EXPECT_EQ(camera.log().substr(logged), c.log + c.log);
    }
    EXPECT_EQ(camera.post(url, ""), BAD_REQUEST);
    EXPECT_TRUE(camera.store.requests().empty());
    EXPECT_EQ(camera.get(url, full.substr(0, 4094)).substr(0, 15), "HTTP/1.1 200 OK") << "4094 characters are fine";
    EXPECT_EQ(camera.store.lastSet(), std::string(setting.stored) + "=x&");
    EXPECT_EQ(camera.post(url, key + "body", key + "query"), okReply(key + "query\r\n")) << "the query goes first";
}
