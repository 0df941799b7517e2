#pragma once

#include "camera/base/awaitable.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <exception>
#include <utility>

namespace camera
{

/** Starts a coroutine of its own on the camera's thread. What it throws leaves the camera's loop. */
inline void spawn(boost::asio::io_context &io, boost::asio::awaitable<void> coroutine)
{
    boost::asio::co_spawn(io, std::move(coroutine), [](const std::exception_ptr &error) {
        if (error)
            std::rethrow_exception(error);
    });
}

} // namespace camera
