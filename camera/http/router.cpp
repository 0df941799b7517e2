#include "camera/http/router.h"

#include "platform/escape.h"

#include <exception>
#include <nlohmann/json.hpp>

namespace camera
{

namespace
{

/** Whether a route's path covers a request's path; `tail` becomes what its "*" stands for. */
bool covers(std::string_view route, std::string_view path, std::string &tail)
{
    if (!route.ends_with("/*"))
        return route == path;
    route.remove_suffix(1);
    if (!path.starts_with(route) || path.size() == route.size())
        return false;
    tail = path.substr(route.size());
    return tail.find('/') == std::string::npos;
}

} // namespace

std::string OwnRequest::parameter(std::string_view key) const
{
    std::string_view rest = query;
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
        if (pair.starts_with(key) && pair.substr(key.size()).starts_with('=')) {
            std::string value(pair.substr(key.size() + 1));
            EscapeDecodeString(value.data());
            value.resize(value.find('\0') == std::string::npos ? value.size() : value.find('\0'));
            return value;
        }
    }
    return {};
}

HttpResponse errorResponse(int status, std::string_view text)
{
    HttpResponse response;
    response.status = status;
    response.contentType = "application/json";
    response.body = nlohmann::json{{"error", text}}.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    response.body += "\n";
    return response;
}

void Router::add(std::string method, std::string path, Handler handler)
{
    addLater(
        std::move(method), std::move(path),
        [handler = std::move(handler)](const OwnRequest &request, const Reply &reply) { reply(handler(request)); });
}

void Router::addLater(std::string method, std::string path, LaterHandler handler)
{
    routes_.push_back({std::move(method), std::move(path), std::move(handler)});
}

void Router::answer(OwnRequest request, const Reply &reply) const
{
    const std::string_view method = request.method == "HEAD" ? "GET" : std::string_view(request.method);
    std::string allowed;
    for (const Route &route : routes_) {
        if (!covers(route.path, request.path, request.tail))
            continue;
        if (route.method != method) {
            allowed += (allowed.empty() ? "" : ", ") + route.method;
            continue;
        }
        try {
            return route.handler(request, reply);
        } catch (const std::exception &error) {
            return reply(errorResponse(500, error.what()));
        }
    }
    if (allowed.empty())
        return reply(errorResponse(404, "nothing is at " + request.path));
    HttpResponse response = errorResponse(405, request.path + " takes " + allowed + " only");
    response.headers["Allow"] = allowed;
    reply(std::move(response));
}

} // namespace camera
