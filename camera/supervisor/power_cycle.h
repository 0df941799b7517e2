#pragma once

#include "camera/supervisor/supervisor.h"
#include "camera/surroundings/neighbour.h"
#include "camera/web/web_server.h"

#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <string>

namespace camera
{

/**
 * Restarts the camera when `around.rebootWanted` asks for it: the daemon is stopped, connections are refused for as
 * long as a camera needs to start, outputs and commands begin anew, and then the daemon and the web server come
 * back. Its part of GET /camera/state is "power".
 */
class PowerCycle
{
  public:
    /** `listen` opens the web server's listening socket again; it may throw, and is then called again later. */
    PowerCycle(Surroundings &around, Supervisor &supervisor, WebServer &server,
               std::function<FileDescriptor()> listen);

    /** The camera is switched off for good: no restart any more, and one that is going on is not completed. */
    void end();

  private:
    void goDown(const std::string &reason);
    void comeUp();
    void beginAnew();
    void openDoors();
    /** Calls a function later, unless the camera is switched off before. */
    void after(std::chrono::milliseconds time, void (PowerCycle::*what)());

    Surroundings &around_;
    Supervisor &supervisor_;
    WebServer &server_;
    std::function<FileDescriptor()> listen_;
    boost::asio::steady_timer timer_;
    bool down_ = false;
    int reboots_ = 0;
    std::string lastReason_;
    std::string lastTime_;
    Subscription rebootWanted_;
};

} // namespace camera
