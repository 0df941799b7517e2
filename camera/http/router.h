#pragma once

#include "camera/http/http_message.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace camera
{

/** A request of one of the virtual camera's own URLs. */
struct OwnRequest {
    std::string method;
    std::string path;
    std::string query; ///< the URL's query; the body's text when the URL has none
    std::string tail;  ///< what of the path stands for the "*" of its route

    /** The value of a "key=value" pair of the query, percent-decoded; empty when it is not there. */
    [[nodiscard]] std::string parameter(std::string_view key) const;
};

/** A reply that says in JSON what is wrong: {"error": "..."}. */
[[nodiscard]] HttpResponse errorResponse(int status, std::string_view text);

/** The virtual camera's own URLs. */
class Router
{
  public:
    /** Makes the reply, at once: nothing may wait here. An exception becomes a 500 reply. */
    using Handler = std::function<HttpResponse(const OwnRequest &)>;

    /** Takes the reply; to be called once. */
    using Reply = std::function<void(HttpResponse)>;
    /** Sees to it that the reply is made, at once or later, on the camera's thread. */
    using LaterHandler = std::function<void(const OwnRequest &, Reply)>;

    /**
     * Adds a route. `path` is a whole path, or ends in "/" and a "*" that stands for one more piece of the path.
     * HEAD goes to the handler of GET.
     */
    void add(std::string method, std::string path, Handler handler);
    /** The same for a reply that takes its time. */
    void addLater(std::string method, std::string path, LaterHandler handler);

    /** Finds the route and calls its handler; 404 without a route, 405 without one for the method. */
    void answer(OwnRequest request, const Reply &reply) const;

  private:
    struct Route {
        std::string method;
        std::string path;
        LaterHandler handler;
    };

    std::vector<Route> routes_;
};

} // namespace camera
