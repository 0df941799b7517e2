#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>
#include <sstream>

namespace
{

std::string setsOf(const TestCamera &camera)
{
    std::string text;
    for (const std::string &pairs : camera.store.sets())
        text += (text.empty() ? "" : "\n") + pairs;
    return text;
}

} // namespace

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> pieces;
    std::istringstream rest(text);
    for (std::string piece; std::getline(rest, piece, separator);)
        pieces.push_back(piece);
    return pieces;
}

void expectChanges(TestCamera &camera, const std::string &url, const std::vector<ChangeCase> &cases)
{
    for (const ChangeCase &c : cases) {
        SCOPED_TRACE(url + "?" + c.query);
        camera.store.clearRequests();
        EXPECT_EQ(camera.get(url, c.query), url.starts_with("/cgi/admin/") ? XML_OK : echoReply(c.query));
        EXPECT_EQ(setsOf(camera), c.written);
    }
}

void expectRefused(TestCamera &camera, const std::string &url, const std::string &queries, const std::string &reply)
{
    camera.store.clearRequests();
    for (const std::string &query : split(queries, ' ')) {
        SCOPED_TRACE(url + "?" + query);
        EXPECT_EQ(camera.get(url, query), reply);
        EXPECT_EQ(setsOf(camera), "");
    }
}

void expectRanges(TestCamera &camera, const std::string &url, const std::string &ranges, const std::string &others)
{
    const bool admin = url.starts_with("/cgi/admin/");
    for (const std::string &range : split(ranges, ' ')) {
        const size_t value = range.find('=') + 1;
        const std::string key = others + range.substr(0, value);
        const int least = std::stoi(range.substr(value)), greatest = std::stoi(range.substr(range.find("..") + 2));
        for (const int good : {least, greatest}) {
            const std::string query = key + std::to_string(good);
            EXPECT_EQ(camera.get(url, query), admin ? XML_OK : echoReply(query)) << query;
        }
        expectRefused(camera, url, key + std::to_string(least - 1) + " " + key + std::to_string(greatest + 1),
                      admin ? INVALID_PARAMETER : BAD_REQUEST);
    }
}

void expectReads(TestCamera &camera, const std::string &url, const std::vector<ReadCase> &cases)
{
    const std::vector<std::string> parts = split(url + "?", '?');
    const std::string query = parts.size() > 1 ? parts[1] : "", body = replyBody(camera.get(parts[0], query));
    const FakeStore::Settings before = camera.store.all();
    for (const ReadCase &c : cases) {
        SCOPED_TRACE(c.settings);
        camera.store.set(pairs(c.settings));
        EXPECT_EQ(camera.get(parts[0], query), okReply(replaced(body, c.from, c.to)));
        camera.store.set(before);
    }
}

void expectUnreadable(TestCamera &camera, const std::string &url, const std::string &settings)
{
    const FakeStore::Settings before = camera.store.all();
    for (const std::string &setting : split(settings, ' ')) {
        camera.store.set(pairs(setting));
        EXPECT_EQ(camera.get(url), INTERNAL_ERROR) << setting;
        camera.store.set(before);
    }
}

FakeStore::Settings pairs(const std::string &text)
{
    FakeStore::Settings settings;
    for (const std::string &pair : split(text, '&'))
        settings[pair.substr(0, pair.find('='))] = pair.substr(pair.find('=') + 1);
    return settings;
}

std::string getOf(const std::string &pairs)
{
    std::string request = "get NameValue 99 0\n";
    for (const std::string &pair : split(pairs, '&'))
        request += pair.substr(0, pair.find('=')) + "&";
    return request;
}

std::string echoReply(const std::string &query)
{
    std::string body;
    for (const std::string &pair : split(query, '&'))
        body += pair + "\r\n";
    return okReply(body);
}

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}
