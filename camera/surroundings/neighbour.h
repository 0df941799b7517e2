#pragma once

#include "camera/base/signal.h"
#include "camera/http/router.h"
#include "camera/store/clock.h"
#include "camera/store/store.h"

#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

/*
 * The neighbours: what stands around the daemon on a camera, each in one source file or one folder of its own.
 *
 * A neighbour is an object that lives as long as the camera runs: it takes up its work in its constructor, before
 * the daemon is started, and ends it in its destructor, after the daemon was stopped. All of them live on one
 * thread and one io_context, where nothing may block; longer work goes to a thread of the neighbour's own.
 *
 * To add one: write its file with a function that makes it, declare that function in neighbours.h and call it where
 * camera.cpp starts the neighbours. It is given the Surroundings and finds there:
 *
 *   settings     store.text("key"), store.number("key")
 *                store.watch("key", ...) tells of every set, whoever made it
 *
 *   events       events.emit({...}) raises one, events.connect(...) hears of all: inputs and motion windows
 *
 *   own URLs     router.add("POST", "/camera/input/" "*", ...), all of them below /camera/
 *
 *   state        state.add("inputs", ...) contributes a part of GET /camera/state
 *
 *   daemon       daemonReady tells that a daemon has just taken up its work
 *
 *   files        root.path("/tmp/ptzctrl") is where a path of the camera lies
 *
 *   time, wires  io, for timers and sockets; clock is what the camera takes for the time
 *
 *   power        rebootWanted.emit("reason") restarts the camera; powerOff and powerOn tell of it
 *
 * What one neighbour needs of another, the view or pictures, is an interface that its function is given beside
 * them.
 *
 * Subscriptions are kept as members: they end with the neighbour.
 */

namespace camera
{

class RootFolder;

/** Something that happened at the camera. */
struct CameraEvent {
    enum class Source { Input, Motion };

    Source source;
    int number; ///< from 0
    bool active;
};

/** The parts of GET /camera/state. */
class StateBoard
{
  public:
    using Part = std::function<nlohmann::json()>;

    void add(std::string name, Part part) { parts_.push_back({std::move(name), std::move(part)}); }
    [[nodiscard]] nlohmann::json collect() const;

  private:
    struct NamedPart {
        std::string name;
        Part part;
    };

    std::vector<NamedPart> parts_;
};

/** What a neighbour is given; see above. It outlives all neighbours. */
struct Surroundings {
    boost::asio::io_context &io;
    const RootFolder &root;
    Store &store;
    const CameraClock &clock;
    Router router = {};
    StateBoard state = {};
    Signal<const CameraEvent &> events = {};
    Signal<> daemonReady = {};
    Signal<const std::string &> rebootWanted = {}; ///< emit it, with the reason, to restart the camera
    Signal<> powerOff = {};                        ///< the camera goes down for a restart: close what is open
    Signal<> powerOn = {};                         ///< it comes up again
};

/** Does its work from its constructor to its destructor; nothing else is asked of it. */
class Neighbour
{
  public:
    Neighbour() = default;
    virtual ~Neighbour() = default;
    Neighbour(const Neighbour &) = delete;
    Neighbour &operator=(const Neighbour &) = delete;
};

} // namespace camera
