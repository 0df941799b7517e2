#include "camera/web/authentication.h"

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <iostream>
#include <strings.h>
#include <system_error>

namespace camera
{

namespace asio = boost::asio;

namespace
{

constexpr std::string_view ADMIN_URLS[] = {
    "/config/user_mod.cgi",
    "/config/user_del.cgi",
    "/config/system_reboot.cgi",
    "/config/scheduled_reboot.cgi",
};

/** On these URLs a query of one selector, "profileid=" and a digit, is a read. */
constexpr std::string_view SELECTOR_URLS[] = {
    "/config/video.cgi",
    "/config/rtspurl.cgi",
    "/video/mjpg.cgi",
    "/config/audio.cgi",
};
constexpr size_t SELECTOR_LENGTH = 11;

/** The pause after a check, which a wrong password makes longer, and the longest wait for one's turn. */
constexpr std::chrono::milliseconds CHECK_PAUSE(50);
constexpr std::chrono::seconds FAILURE_PAUSE(1);
constexpr std::chrono::seconds MAX_FAILURE_PAUSE(8);
constexpr std::chrono::seconds MAX_TURN_WAIT(12);
constexpr std::chrono::seconds FORGET_TIME(60);
constexpr size_t MAX_OFFENDERS = 1000;

template <size_t N>
bool holds(const std::string_view (&list)[N], std::string_view text)
{
    return std::ranges::find(list, text) != std::end(list);
}

bool isRead(const HttpHead &head)
{
    return head.method == "GET" &&
           (head.query.empty() || (head.query.size() == SELECTOR_LENGTH && holds(SELECTOR_URLS, head.path)));
}

/** Base64, RFC 4648, with its padding; nothing else is accepted. */
std::optional<std::string> decodeBase64(std::string_view text)
{
    constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    if (text.size() % 4 != 0)
        return std::nullopt;
    while (text.ends_with('=') && text.size() % 4 != 2)
        text.remove_suffix(1);
    std::string decoded;
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        const size_t value = ALPHABET.find(c);
        if (value == std::string_view::npos)
            return std::nullopt;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xffff;
        count += 6;
        if (count >= 8) {
            count -= 8;
            decoded += static_cast<char>(bits >> count & 0xff);
        }
    }
    return decoded;
}

/** Compares without telling by its time how much of the text is right. */
bool equalInConstantTime(std::string_view left, std::string_view right)
{
    unsigned difference = left.size() == right.size() ? 0 : 1;
    for (size_t i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned>(left[i] ^ right[right.empty() ? 0 : i % right.size()]);
    return difference == 0;
}

HttpResponse askForLogin()
{
    HttpResponse response = plainResponse(401);
    response.headers["WWW-Authenticate"] = R"(Basic realm="kelpa camera", charset="UTF-8")";
    return response;
}

} // namespace

Need neededFor(const HttpHead &head)
{
    if (head.path.starts_with("/cgi/admin/") || head.path.starts_with("/camera/") || holds(ADMIN_URLS, head.path))
        return Need::Admin;
    return isRead(head) ? Need::AnyAccount : Need::Operator;
}

bool groupSuffices(std::string_view group, Need need)
{
    switch (need) {
    case Need::Admin:
        return group == GROUP_ADMIN;
    case Need::Operator:
        return group == GROUP_ADMIN || group == GROUP_OPERATOR;
    case Need::AnyAccount:
        return true;
    }
    return false;
}

std::optional<Credentials> parseBasicCredentials(std::string_view authorization)
{
    constexpr std::string_view SCHEME = "Basic ";
    if (authorization.size() < SCHEME.size() ||
        strncasecmp(authorization.data(), SCHEME.data(), SCHEME.size()) != 0)
        return std::nullopt;
    const size_t begin = authorization.find_first_not_of(' ', SCHEME.size());
    if (begin == std::string_view::npos)
        return std::nullopt;
    const std::optional<std::string> decoded = decodeBase64(authorization.substr(begin));
    const size_t colon = decoded ? decoded->find(':') : std::string::npos;
    if (colon == std::string::npos || decoded->find('\0') != std::string::npos)
        return std::nullopt;
    return Credentials{decoded->substr(0, colon), decoded->substr(colon + 1)};
}

Authenticator::Authenticator(asio::io_context &io, AccountFiles accounts)
    : io_(io), accounts_(std::move(accounts)), nobody_(hashPassword(randomPassword())),
      worker_(io, Worker::AtTheEnd::Drop)
{
}

asio::awaitable<std::optional<HttpResponse>> Authenticator::check(const HttpHead &head, std::string peer)
{
    const auto credentials = parseBasicCredentials(head.authorization.value_or(""));
    if (!credentials)
        co_return askForLogin();
    std::optional<Account> account;
    try {
        account = accounts_.find(credentials->name);
    } catch (const std::system_error &error) {
        std::cerr << "kelpa-camera: accounts: " << error.what() << "\n";
        co_return plainResponse(500);
    }

    const auto known = known_.find(credentials->name);
    if (!account || known == known_.end() || known->second.hash != account->hash ||
        !equalInConstantTime(credentials->password, known->second.password)) {
        const bool allowed = co_await waitForTurn(peer);
        if (!allowed) {
            HttpResponse response = plainResponse(429);
            response.headers["Retry-After"] = std::to_string(MAX_TURN_WAIT.count());
            co_return response;
        }
        const std::string hash = account ? account->hash : std::string();
        const bool right = co_await isRight(*credentials, hash);
        if (!right) {
            recordFailure(peer);
            asio::steady_timer pause(io_, offenders_[peer].nextCheck);
            co_await pause.async_wait(asio::use_awaitable);
            co_return askForLogin();
        }
        known_.insert_or_assign(credentials->name, Known{credentials->password, hash});
    }
    if (!groupSuffices(account->group, neededFor(head)))
        co_return plainResponse(403);
    co_return std::nullopt;
}

asio::awaitable<bool> Authenticator::isRight(const Credentials &credentials, const std::string &hash)
{
    const bool exists = !hash.empty();
    const std::string compared = exists ? hash : nobody_;
    const auto work = [&] { return passwordMatches(credentials.password, compared); };
    const bool matches = co_await worker_.run(work);
    const bool right = matches && exists;
    co_return right;
}

asio::awaitable<bool> Authenticator::waitForTurn(const std::string &peer)
{
    const Clock::time_point latest = Clock::now() + MAX_TURN_WAIT;
    for (;;) {
        const Clock::time_point now = Clock::now();
        Offender &offender = offenders_[peer];
        if (now - offender.nextCheck > FORGET_TIME)
            offender.failures = 0;
        if (offender.nextCheck <= now) {
            offender.nextCheck = now + CHECK_PAUSE;
            co_return true;
        }
        if (offender.nextCheck > latest)
            co_return false;
        asio::steady_timer turn(io_, offender.nextCheck);
        co_await turn.async_wait(asio::use_awaitable);
    }
}

void Authenticator::recordFailure(const std::string &peer)
{
    const Clock::time_point now = Clock::now();
    if (offenders_.size() > MAX_OFFENDERS)
        std::erase_if(offenders_, [&](const auto &entry) { return now - entry.second.nextCheck > FORGET_TIME; });
    Offender &offender = offenders_[peer];
    ++offender.failures;
    offender.nextCheck = now + std::min<Clock::duration>(offender.failures * FAILURE_PAUSE, MAX_FAILURE_PAUSE);
}

} // namespace camera
