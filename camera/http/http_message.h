#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace camera
{

/** A head may have this many bytes, its empty line included. */
inline constexpr size_t HTTP_MAX_HEAD = 8192;
/** What the daemon takes of a URL's path, of a query and of a body that is handed over with a request. */
inline constexpr size_t HTTP_MAX_PATH = 127;
inline constexpr size_t HTTP_MAX_QUERY = 4095;
inline constexpr size_t HTTP_MAX_BODY = 4095;

/** What the camera needs to know of a request's head. */
struct HttpHead {
    std::string method;
    std::string path;  ///< as received, percent-encoding and all
    std::string query; ///< as received; what follows the first "?"
    std::uint64_t contentLength = 0;
    bool expectsContinue = false; ///< the client waits for "100 Continue" before it sends the body
    std::optional<std::string> authorization;
};

/** The status of the reply that refuses a head. */
struct HttpRefusal {
    int status;
};

/**
 * The length of the head that the text begins with, its empty line included; 0 when the head is not complete yet.
 * `from`: the text before this was looked at already.
 */
[[nodiscard]] size_t findHeadEnd(std::string_view text, size_t from = 0);

/**
 * Reads a whole head. Refused are: what is no HTTP/1.0 or 1.1 (400, 505), a path or a query that is too long (414),
 * a body of unknown length (411), an expectation that is not known (417).
 */
[[nodiscard]] std::variant<HttpHead, HttpRefusal> parseHead(std::string_view head);

/** A reply of the virtual camera's own. */
struct HttpResponse {
    int status = 200;
    std::string contentType = "text/plain";
    std::string body;
    std::map<std::string, std::string> headers = {};
};

/** The bytes of a reply, after which the connection is closed. The body is left out of a reply to HEAD. */
[[nodiscard]] std::string serialise(const HttpResponse &response, bool withBody = true);

/** A plain reply that says its status, and nothing else, in words. */
[[nodiscard]] HttpResponse plainResponse(int status);

} // namespace camera
