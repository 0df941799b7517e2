#pragma once

#include "tests/fakes/unique_fd.h"

#include <functional>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>

/** A thread that calls `serve` whenever the descriptor is readable, until the object goes. */
class ServiceThread
{
  public:
    ServiceThread(int fd, std::function<void()> serve)
        : m_thread([this, fd, serve = std::move(serve)] {
              pollfd waiting[] = {{m_stop.Get(), POLLIN, 0}, {fd, POLLIN, 0}};
              while (poll(waiting, 2, -1) >= 0 && waiting[0].revents == 0)
                  serve();
          })
    {
    }
    ~ServiceThread()
    {
        eventfd_write(m_stop.Get(), 1);
        m_thread.join();
    }
    ServiceThread(const ServiceThread &) = delete;
    ServiceThread &operator=(const ServiceThread &) = delete;

  private:
    UniqueFd m_stop{eventfd(0, EFD_CLOEXEC)};
    std::thread m_thread;
};
