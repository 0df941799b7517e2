#include "camera/base/root_folder.h"
#include "camera/surroundings/neighbours.h"

#include <nlohmann/json.hpp>

/*
 * GET /camera/state, to which every neighbour contributes its part, and the index page.
 */

namespace camera
{

namespace
{

constexpr std::string_view INDEX_PAGE = R"(<!doctype html>
<html lang="en">
<meta charset="utf-8">
<title>kelpa virtual camera</title>
<h1>kelpa virtual camera</h1>
<ul>
<li><a href="/common/info.cgi">/common/info.cgi</a>: what the camera is</li>
<li><a href="/config/stream_info.cgi">/config/stream_info.cgi</a>: what it can do</li>
<li><a href="/config/notify_stream.cgi">/config/notify_stream.cgi</a>: what happens, as it happens</li>
<li><a href="/video/mjpg.cgi">/video/mjpg.cgi</a>: what it sees</li>
<li><a href="/camera/snapshot">/camera/snapshot</a>: one picture of it; <code>?profile=1</code> for another
size</li>
<li><a href="/camera/state">/camera/state</a>: the state of the virtual camera itself</li>
</ul>
<p>Switch an input or a motion window:
<code>curl -X POST 'http://HOST/camera/input/1?state=on'</code>,
<code>curl -X POST 'http://HOST/camera/motion/2?state=off'</code>
</html>
)";

/** JSON keeps the invalid UTF-8 that a setting may hold as a replacement character. */
std::string indented(const nlohmann::json &value)
{
    return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

class StatePage : public Neighbour
{
  public:
    explicit StatePage(Surroundings &around)
    {
        around.state.add("camera", [&around] {
            return nlohmann::json{{"name", around.store.text("layout_title_text")},
                                  {"model", around.store.text("system_info_extendedmodelname")},
                                  {"root", around.root.folder()}};
        });
        around.router.add("GET", "/camera/state", [&around](const OwnRequest &) {
            return HttpResponse{.contentType = "application/json", .body = indented(around.state.collect())};
        });
        around.router.add("GET", "/", [](const OwnRequest &) {
            return HttpResponse{.contentType = "text/html; charset=utf-8", .body = std::string(INDEX_PAGE)};
        });
    }
};

} // namespace

std::unique_ptr<Neighbour> makeStatePage(Surroundings &around)
{
    return std::make_unique<StatePage>(around);
}

} // namespace camera
