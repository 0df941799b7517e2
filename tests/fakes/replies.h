#pragma once

#include <string>
#include <string_view>

/* The daemon's replies, written down once more, independently of the daemon's own sources. */

inline const std::string BAD_REQUEST =
    "HTTP/1.1 400 Bad Request\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n";
inline const std::string UNAUTHORIZED =
    "HTTP/1.1 401 Unauthorized\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n";
inline const std::string INTERNAL_ERROR =
    "HTTP/1.1 500 Internal Error\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n";
inline const std::string SERVICE_UNAVAILABLE =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n";
inline const std::string INVALID_PARAMETER =
    "HTTP/1.1 200 OK\r\nContent-Length: 63  \r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
    "<config><result><code>invalidParameter</code></result></config>";
inline const std::string UPDATE_FAILED =
    "HTTP/1.1 200 OK\r\nContent-Length: 59  \r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
    "<config><result><code>updateFailed</code></result></config>";
/** The reply of a change of one of the "/cgi/admin/" URLs. */
inline const std::string XML_OK =
    "HTTP/1.1 200 OK\r\nContent-Length: 49  \r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
    "<config><result><code>ok</code></result></config>";
/** What a notify stream begins with. */
inline const std::string NOTIFY_HEADER = "HTTP/1.1 200 OK\r\nCache-Control: no-cache, no-store, must-revalidate\r\n"
                                         "Pragma: no-cache\r\nContent-Type: text/plain\r\n\r\n";

/** The reply with this body: the length stands left-aligned in four places, one blank behind the colon. */
inline std::string okReply(std::string_view body)
{
    std::string length = std::to_string(body.size());
    length.resize(4, ' ');
    return "HTTP/1.1 200 OK\r\nContent-Length: " + length +
           "\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n" + std::string(body);
}

/** What follows the head of a reply; "(no body)" when there is no end of a head. */
inline std::string replyBody(const std::string &reply)
{
    const size_t end = reply.find("\r\n\r\n");
    return end != std::string::npos ? reply.substr(end + 4) : "(no body)";
}
