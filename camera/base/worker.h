#pragma once

#include "camera/base/awaitable.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <functional>
#include <string>
#include <type_traits>

namespace camera
{

/**
 * A thread for what takes long, so that the camera's thread never waits for a disk or a computation. What it is
 * given is done one after another. To be used on the camera's thread only.
 */
class Worker
{
  public:
    using Work = std::function<void()>;
    /** Is told what went wrong; empty when nothing did. */
    using Done = std::function<void(const std::string &error)>;

    /** What becomes of the work that has not begun when the worker is destroyed. */
    enum class AtTheEnd { Finish, Drop };

    Worker(boost::asio::io_context &io, AtTheEnd atTheEnd) : io_(io), atTheEnd_(atTheEnd), thread_(1) {}
    /** Waits for the work that goes on. */
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    /** Has `work` run on the thread, an exception is its error; then `done` on the camera's thread. */
    void post(Work work, Done done);
    /** How many works were posted and are not done. */
    [[nodiscard]] size_t waiting() const { return waiting_; }

    /** For a coroutine: runs `work` on the thread and gives its result. */
    template <class Function>
    boost::asio::awaitable<std::invoke_result_t<Function>> run(Function work)
    {
        const auto onThread = [work = std::move(work)]() -> boost::asio::awaitable<std::invoke_result_t<Function>> {
            co_return work();
        };
        auto result = co_await boost::asio::co_spawn(thread_, onThread(), boost::asio::use_awaitable);
        co_return result;
    }

  private:
    boost::asio::io_context &io_;
    AtTheEnd atTheEnd_;
    size_t waiting_ = 0; ///< belongs to the camera's thread
    boost::asio::thread_pool thread_;
};

} // namespace camera
