#pragma once

/*
 * Coroutines. "co_await" stands in a statement of its own, or begins a variable, and what it is given has a name:
 * g++ 12 loses its place when temporaries of one expression live on both sides of a suspension.
 */

// clang-format off
#include <utility> // the next header uses std::exchange without saying so
#include <boost/asio/awaitable.hpp>
// clang-format on
