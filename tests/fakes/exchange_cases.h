#pragma once

#include "tests/fakes/test_camera.h"

#include <string>
#include <vector>

/** One request of a family: what it is answered, and what it makes the daemon write to the store. */
struct ExchangeCase {
    std::string description;
    std::string query; ///< the reply and the sets are those of a GET with it
    std::string reply;
    std::vector<std::string> sets = {}; ///< the pairs of every "set", in order; none for a refused request
};

/** Makes every request in turn and compares; a failure names the case. */
void ExpectExchanges(TestCamera &camera, const std::string &url, const std::vector<ExchangeCase> &cases);

/** The reply of a change: the request's own pairs, a line each. */
[[nodiscard]] std::string EchoReply(const std::string &query);
