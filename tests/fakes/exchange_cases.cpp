#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>
#include <sstream>

void ExpectExchanges(TestCamera &camera, const std::string &url, const std::vector<ExchangeCase> &cases)
{
    for (const ExchangeCase &exchange : cases) {
        SCOPED_TRACE(url + "?" + exchange.query + " (" + exchange.description + ")");
        camera.store.ClearRequests();
        EXPECT_EQ(camera.Get(url, exchange.query), exchange.reply);
        EXPECT_EQ(camera.store.Sets(), exchange.sets);
    }
}

std::string EchoReply(const std::string &query)
{
    std::istringstream pairs(query);
    std::string body;
    for (std::string pair; std::getline(pairs, pair, '&');)
        body += pair + "\r\n";
    return OkReply(body);
}
