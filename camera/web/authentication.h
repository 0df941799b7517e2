#pragma once

#include "camera/accounts/accounts.h"
#include "camera/base/awaitable.h"
#include "camera/base/worker.h"
#include "camera/http/http_message.h"

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace camera
{

/** Who may make a request: members of any group, of operator or admin, of admin alone. */
enum class Need { AnyAccount, Operator, Admin };

/** What a request needs. Whatever is not known to be a mere read counts as a change. */
[[nodiscard]] Need neededFor(const HttpHead &head);
[[nodiscard]] bool groupSuffices(std::string_view group, Need need);

/** What a client has sent as its name and password (RFC 7617). */
struct Credentials {
    std::string name;
    std::string password;
};

/** Reads an Authorization field of HTTP Basic authentication, RFC 7617. */
[[nodiscard]] std::optional<Credentials> parseBasicCredentials(std::string_view authorization);

/**
 * Checks who makes a request. A password is checked on a thread of its own, because that takes long; what was found
 * right is remembered until the account changes. Wrong passwords slow their sender down: the next check for him
 * waits, a second longer with every failure.
 */
class Authenticator
{
  public:
    Authenticator(boost::asio::io_context &io, AccountFiles accounts);

    /** Null when the request may be made; otherwise the reply that refuses it: 401, 403 or 429. */
    boost::asio::awaitable<std::optional<HttpResponse>> check(const HttpHead &head, std::string peer);

  private:
    using Clock = std::chrono::steady_clock;

    struct Offender {
        int failures = 0;
        Clock::time_point nextCheck;
    };
    struct Known {
        std::string password;
        std::string hash;
    };

    /** Checks a password on the worker; an empty hash stands for an account that does not exist. */
    boost::asio::awaitable<bool> isRight(const Credentials &credentials, const std::string &hash);
    /** Waits for the peer's turn; false when too many of his checks wait already. */
    boost::asio::awaitable<bool> waitForTurn(const std::string &peer);
    void recordFailure(const std::string &peer);

    boost::asio::io_context &io_;
    AccountFiles accounts_;
    std::string nobody_; ///< compared with for a name that does not exist: it takes as long as a wrong password
    std::map<std::string, Known> known_; ///< by account name; holds accounts that exist only
    std::map<std::string, Offender> offenders_;
    Worker worker_;
};

} // namespace camera
