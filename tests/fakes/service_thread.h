#pragma once

#include "tests/fakes/test_support.h"

#include <functional>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>

/** A thread that calls `serve` whenever the descriptor is readable, until the object goes. */
class ServiceThread
{
  public:
    ServiceThread(int fd, std::function<void()> serve)
        : thread_([this, fd, serve = std::move(serve)] {
              pollfd waiting[] = {{stop_.get(), POLLIN, 0}, {fd, POLLIN, 0}};
              while (poll(waiting, 2, -1) >= 0 && waiting[0].revents == 0)
                  serve();
          })
    {
    }
    ~ServiceThread()
    {
        eventfd_write(stop_.get(), 1);
        thread_.join();
    }
    ServiceThread(const ServiceThread &) = delete;
    ServiceThread &operator=(const ServiceThread &) = delete;

  private:
    FileDescriptor stop_{eventfd(0, EFD_CLOEXEC)};
    std::thread thread_;
};
