#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>
#include <sstream>

namespace
{

std::string SetsOf(const TestCamera &camera)
{
    std::string text;
    for (const std::string &pairs : camera.store.Sets())
        text += (text.empty() ? "" : "\n") + pairs;
    return text;
}

} // namespace

std::vector<std::string> Split(const std::string &text, char separator)
{
    std::vector<std::string> pieces;
    std::istringstream rest(text);
    for (std::string piece; std::getline(rest, piece, separator);)
        pieces.push_back(piece);
    return pieces;
}

void ExpectChanges(TestCamera &camera, const std::string &url, const std::vector<ChangeCase> &cases)
{
    for (const ChangeCase &c : cases) {
        SCOPED_TRACE(url + "?" + c.query + " (" + c.description + ")");
        camera.store.ClearRequests();
        EXPECT_EQ(camera.Get(url, c.query), url.starts_with("/cgi/admin/") ? XML_OK : EchoReply(c.query));
        EXPECT_EQ(SetsOf(camera), c.written);
    }
}

void ExpectRefused(TestCamera &camera, const std::string &url, const std::string &queries, const std::string &reply)
{
    camera.store.ClearRequests();
    for (const std::string &query : Split(queries, ' ')) {
        SCOPED_TRACE(url + "?" + query);
        EXPECT_EQ(camera.Get(url, query), reply);
        EXPECT_EQ(SetsOf(camera), "");
    }
}

void ExpectRanges(TestCamera &camera, const std::string &url, const std::string &ranges, const std::string &others)
{
    const bool admin = url.starts_with("/cgi/admin/");
    for (const std::string &range : Split(ranges, ' ')) {
        const size_t value = range.find('=') + 1;
        const std::string key = others + range.substr(0, value);
        const int least = std::stoi(range.substr(value)), greatest = std::stoi(range.substr(range.find("..") + 2));
        for (const int good : {least, greatest}) {
            const std::string query = key + std::to_string(good);
            EXPECT_EQ(camera.Get(url, query), admin ? XML_OK : EchoReply(query)) << query;
        }
        ExpectRefused(camera, url, key + std::to_string(least - 1) + " " + key + std::to_string(greatest + 1),
                      admin ? INVALID_PARAMETER : BAD_REQUEST);
    }
}

void ExpectReads(TestCamera &camera, const std::string &url, const std::vector<ReadCase> &cases)
{
    const std::string body = ReplyBody(camera.Get(url));
    const FakeStore::Settings before = camera.store.All();
    for (const ReadCase &c : cases) {
        SCOPED_TRACE(c.settings + " (" + c.description + ")");
        camera.store.Set(Pairs(c.settings));
        EXPECT_EQ(camera.Get(url), OkReply(Replaced(body, c.from, c.to)));
        camera.store.Set(before);
    }
}

void ExpectUnreadable(TestCamera &camera, const std::string &url, const std::string &settings)
{
    const FakeStore::Settings before = camera.store.All();
    for (const std::string &setting : Split(settings, ' ')) {
        camera.store.Set(Pairs(setting));
        EXPECT_EQ(camera.Get(url), INTERNAL_ERROR) << setting;
        camera.store.Set(before);
    }
}

FakeStore::Settings Pairs(const std::string &text)
{
    FakeStore::Settings settings;
    for (const std::string &pair : Split(text, '&'))
        settings[pair.substr(0, pair.find('='))] = pair.substr(pair.find('=') + 1);
    return settings;
}

std::string GetOf(const std::string &pairs)
{
    std::string request = "get NameValue 99 0\n";
    for (const std::string &pair : Split(pairs, '&'))
        request += pair.substr(0, pair.find('=')) + "&";
    return request;
}

std::string EchoReply(const std::string &query)
{
    std::string body;
    for (const std::string &pair : Split(query, '&'))
        body += pair + "\r\n";
    return OkReply(body);
}

std::string Replaced(std::string text, const std::string &from, const std::string &to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}
