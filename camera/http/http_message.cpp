#include "camera/http/http_message.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/status.hpp>
#include <limits>

namespace camera
{

namespace http = boost::beast::http;

namespace
{

std::string toString(boost::beast::string_view text)
{
    return {text.data(), text.size()};
}

/** Splits a request target, "/path?query" or "http://host/path?query", in two; false for any other form. */
bool splitTarget(std::string target, HttpHead &head)
{
    // RFC 9112, 3.2.2: a server takes the absolute form too.
    if (const size_t scheme = target.find("://"); target.starts_with("http") && scheme != std::string::npos) {
        const size_t path = target.find_first_of("/?", scheme + 3);
        target = path == std::string::npos ? "/" : target.substr(path);
        if (target.front() == '?')
            target.insert(0, "/");
    }
    if (!target.starts_with('/'))
        return false;
    const size_t question = target.find('?');
    head.path = target.substr(0, question);
    head.query = question == std::string::npos ? "" : target.substr(question + 1);
    return true;
}

int statusOf(const boost::system::error_code &error)
{
    if (error == http::error::bad_version)
        return 505;
    if (error == http::error::header_limit)
        return 431;
    return 400;
}

} // namespace

size_t findHeadEnd(std::string_view text, size_t from)
{
    // Beast's parser could tell the end too, but it reads the lines as they come: a head that ends in bare line
    // feeds would be refused for its version (505 instead of 400), and a bad line before the rest has been taken
    // off the connection. Here an empty line ends the head in either form, and the parser judges all of it at once.
    for (size_t at = text.find('\n', from > 2 ? from - 2 : 0); at != std::string_view::npos;
         at = text.find('\n', at + 1)) {
        const std::string_view rest = text.substr(at + 1);
        if (rest.starts_with('\n'))
            return at + 2;
        if (rest.starts_with("\r\n"))
            return at + 3;
    }
    return 0;
}

std::variant<HttpHead, HttpRefusal> parseHead(std::string_view text)
{
    if (!text.ends_with("\r\n\r\n"))
        return HttpRefusal{400};
    http::request_parser<http::empty_body> parser;
    parser.header_limit(HTTP_MAX_HEAD);
    parser.body_limit(std::numeric_limits<std::uint64_t>::max()); // the body is not for this parser
    boost::system::error_code error;
    parser.put(boost::asio::buffer(text.data(), text.size()), error);
    if (error)
        return HttpRefusal{statusOf(error)};
    if (!parser.is_header_done())
        return HttpRefusal{400};

    const auto &request = parser.get();
    HttpHead head;
    head.method = toString(request.method_string());
    if (!splitTarget(toString(request.target()), head))
        return HttpRefusal{400};
    if (head.path.size() > HTTP_MAX_PATH || head.query.size() > HTTP_MAX_QUERY)
        return HttpRefusal{414};
    if (request.find(http::field::transfer_encoding) != request.end())
        return HttpRefusal{411};
    head.contentLength = parser.content_length().value_or(0);
    if (const auto expect = request.find(http::field::expect); expect != request.end() && request.version() == 11) {
        if (!boost::beast::iequals(expect->value(), "100-continue"))
            return HttpRefusal{417};
        head.expectsContinue = head.contentLength > 0;
    }
    if (const auto authorization = request.find(http::field::authorization); authorization != request.end())
        head.authorization = toString(authorization->value());
    return head;
}

std::string serialise(const HttpResponse &response, bool withBody)
{
    std::string text =
        "HTTP/1.1 " + std::to_string(response.status) + " " +
        toString(http::obsolete_reason(http::int_to_status(static_cast<unsigned>(response.status)))) +
        "\r\nContent-Type: " + response.contentType +
        "\r\nContent-Length: " + std::to_string(response.body.size()) + "\r\nConnection: close\r\n";
    for (const auto &[name, value] : response.headers)
        text += name + ": " + value + "\r\n";
    text += "\r\n";
    if (withBody)
        text += response.body;
    return text;
}

HttpResponse plainResponse(int status)
{
    HttpResponse response;
    response.status = status;
    response.body = std::to_string(status) + " " +
                    toString(http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status)))) + "\r\n";
    return response;
}

} // namespace camera
