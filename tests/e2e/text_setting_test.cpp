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

TEST_P(TextSetting, IsRead)
{
    for (const std::string text : {"", "a=b (&%<\xFF"}) {
        camera.store.Set(setting.stored, text);
        EXPECT_EQ(camera.Get(url), OkReply(key + text + "\r\n"));
    }
}

TEST_P(TextSetting, IsChanged)
{
    const std::string longest(63, 'x');
    const struct {
        const char *description;
        std::string text; ///< the request, "KEY" standing for the key
        std::string stored;
        std::string echo;
    } cases[] = {
        {"plain", "KEYHall", "Hall", "KEYHall\r\n"},
        {"empty", "KEY", "", "KEY\r\n"},
        {"longest", "KEY" + longest, longest, "KEY" + longest + "\r\n"},
        {"other keys are echoed too", "a=1&KEYHall&b=2", "Hall", "a=1\r\nKEYHall\r\nb=2\r\n"},
        {"the first one counts", "KEYa&KEYb", "a", "KEYa\r\nKEYb\r\n"},
        {"inside a longer key", "userKEYx&KEYy", "x", "userKEYx\r\nKEYy\r\n"},
        {"encoded blanks are decoded, and all else with them", "KEYMy%20Cam%2CA", "My Cam,A", "KEYMy Cam,A\r\n"},
        {"plus stays plus", "KEYa+b/c=", "a+b/c=", "KEYa+b/c=\r\n"},
        {"an equals sign", "KEYa=b", "a=b", "KEYa=b\r\n"},
        {"any byte that is not forbidden", "KEY\xC3\xA4;'\"`$|\\\t#", "\xC3\xA4;'\"`$|\\\t#",
         "KEY\xC3\xA4;'\"`$|\\\t#\r\n"},
        {"a key that begins with another digit than 0", "1=2&KEYx", "x", "1=2\r\nKEYx\r\n"},
    };
    const auto fill = [this](std::string text) {
        for (size_t at = 0; (at = text.find("KEY")) != std::string::npos;)
            text.replace(at, 3, key);
        return text;
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        for (const bool post : {false, true}) {
            camera.store.Set(setting.stored, "before");
            const std::string text = fill(c.text);
            EXPECT_EQ(post ? camera.Post(url, text) : camera.Get(url, text), OkReply(fill(c.echo)));
            EXPECT_EQ(camera.store.LastSet(), setting.stored + ("=" + c.stored) + "&");
            EXPECT_EQ(camera.store.Value(setting.stored), c.stored);
        }
    }
}

TEST_P(TextSetting, RefusesABadRequestAndChangesNothing)
{
    const std::string full = key + "x&" + std::string(4095 - key.size() - 2, 'y');
    const std::string filtered = std::string("[") + setting.parser + "]XSS Protect\n";
    const std::string empty = std::string("[") + setting.parser + "]QeryString and PostBody are NULL\n";
    const struct {
        const char *description;
        std::string text, log;
    } cases[] = {
        {"too long a text", key + std::string(64, 'x'), ""},
        {"a key without equals sign", key.substr(0, key.size() - 1), ""},
        {"another case", "NAME=x&LABEL=y", ""},
        {"opening parenthesis", key + "My(Cam", filtered},
        {"closing parenthesis", key + "My)Cam", filtered},
        {"less than", key + "<b", filtered},
        {"greater than", key + "b>", filtered},
        {"an escape that was not decoded", key + "a%2Cb", filtered},
        {"an escape that decodes to a forbidden sign", key + "a%20%3Cb", filtered},
        {"an incomplete escape", key + "a%20b%2", filtered},
        {"a NUL byte", key + "a%20b%00", filtered},
        {"two ampersands", key + "a&&b=c", filtered},
        {"an ampersand at the end, which gets another one", key + "a&", filtered},
        {"a forbidden sign in another value", key + "a&b=(", filtered},
        {"a leading zero", "0=1&" + key + "x", "[GetStringValueFromText]Incorrect source data or keyword data\n"},
        {"a full buffer", full, empty},
        {"more than the buffer, which is cut", full + "zzz", empty},
    };
    camera.store.ClearRequests();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const size_t logged = camera.Log().size();
        EXPECT_EQ(camera.Get(url, c.text), BAD_REQUEST);
        EXPECT_EQ(camera.Post(url, c.text), BAD_REQUEST);
        EXPECT_EQ(camera.Log().substr(logged), c.log + c.log);
    }
    EXPECT_EQ(camera.Post(url, ""), BAD_REQUEST);
    EXPECT_TRUE(camera.store.Requests().empty());
    EXPECT_EQ(camera.Get(url, full.substr(0, 4094)).substr(0, 15), "HTTP/1.1 200 OK") << "4094 characters are fine";
    EXPECT_EQ(camera.store.LastSet(), std::string(setting.stored) + "=x&");
    EXPECT_EQ(camera.Post(url, key + "body", key + "query"), OkReply(key + "query\r\n")) << "the query goes first";
    camera.store.Refuse();
    EXPECT_EQ(camera.Get(url, key + "x"), UPDATE_FAILED);
}
