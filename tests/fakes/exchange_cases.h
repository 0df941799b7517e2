#pragma once

#include "tests/fakes/test_camera.h"

#include <string>
#include <vector>

/* Requests of one family, one after the other. A failure names the request. */

/** A change that is taken: echoed or, below "/cgi/admin/", answered "ok". */
struct ChangeCase {
    std::string query;
    std::string written; ///< the pairs of every "set", in order, a line feed between two
};
void expectChanges(TestCamera &camera, const std::string &url, const std::vector<ChangeCase> &cases);

/** Requests, blanks between them, that get this reply and write nothing. */
void expectRefused(TestCamera &camera, const std::string &url, const std::string &queries,
                   const std::string &reply = BAD_REQUEST);

/**
 * Numbers, blanks between them, as "key=least..greatest": both are taken, one less and one more is refused.
 * `others` are the keys that a request needs besides, with an "&" behind them.
 */
void expectRanges(TestCamera &camera, const std::string &url, const std::string &ranges,
                  const std::string &others = {});

/** How the body of a read differs from what it is, while the store holds something else. */
struct ReadCase {
    std::string settings; ///< as Pairs takes them
    std::string from;
    std::string to;
};
/** The URL may have a query. */
void expectReads(TestCamera &camera, const std::string &url, const std::vector<ReadCase> &cases);

/** The read is an internal error with each of these, blanks between them: "name=value". */
void expectUnreadable(TestCamera &camera, const std::string &url, const std::string &settings);

/** The pieces between the separators; none behind a last one. */
[[nodiscard]] std::vector<std::string> split(const std::string &text, char separator);

/** "name=value&name=value&", a last "&" or none. */
[[nodiscard]] FakeStore::Settings pairs(const std::string &text);
/** The store's request for the names of these pairs, in their order. */
[[nodiscard]] std::string getOf(const std::string &pairs);

/** The reply of a change: the request's own pairs, a line each. */
[[nodiscard]] std::string echoReply(const std::string &query);

/** The text with the first `from`, which has to be in it, replaced. */
[[nodiscard]] std::string replaced(std::string text, const std::string &from, const std::string &to);
