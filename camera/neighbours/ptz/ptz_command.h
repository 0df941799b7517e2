#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

/*
 * The PTZ head's command line: "channel=0&camid=1&" and "key=value" pairs that say one thing to do, with the speeds
 * to do it at, or speeds alone. Nothing is percent-encoded, and a value runs to the next "&".
 */

namespace camera
{

enum class PtzMove { Up, Down, Left, Right, Home };
enum class PtzZoom { Tele, Wide };
enum class PtzFocus { Far, Near };
enum class PtzAuto { Pan, Stop };

/** Brings the point x, y of a picture of this size, counted from its upper left corner, to the centre. */
struct PtzCentre {
    int x;
    int y;
    int width;
    int height;
};

/* Presets are kept, forgotten and recalled by name. */
struct PtzKeep {
    std::string name;
};
struct PtzForget {
    std::string name;
};
struct PtzRecall {
    std::string name;
};

/** From -5, the slowest, to 5. A speed stays until it is given anew. */
inline constexpr int MAX_PTZ_SPEED = 5;

/** One command line of the daemon: whatever of this it names. */
struct PtzCommand {
    std::optional<int> panSpeed = {};
    std::optional<int> tiltSpeed = {};
    std::optional<int> zoomSpeed = {};
    std::variant<std::monostate, PtzMove, PtzZoom, PtzFocus, PtzAuto, PtzCentre, PtzKeep, PtzForget, PtzRecall>
        action = {};
};

/** A command that is not understood or cannot be carried out; the text says why. */
class PtzError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

inline constexpr size_t MAX_PTZ_LINE = 2048;

/** Reads a command line; throws PtzError. */
[[nodiscard]] PtzCommand parsePtzCommand(std::string_view line);

} // namespace camera
