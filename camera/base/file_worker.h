#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <functional>
#include <string>

namespace camera
{

/**
 * A thread that works on files, so that the camera's thread never waits for a disk. What it is given is done one
 * after another, and to the end: the destructor waits for it.
 */
class FileWorker
{
  public:
    using Work = std::function<void()>;
    /** Is told what went wrong; empty when nothing did. */
    using Done = std::function<void(const std::string &error)>;

    explicit FileWorker(boost::asio::io_context &io) : io_(io), thread_(1) {}
    ~FileWorker() { thread_.join(); }
    FileWorker(const FileWorker &) = delete;
    FileWorker &operator=(const FileWorker &) = delete;

    /** Has `work` run on the thread, an exception is its error; then `done` on the camera's thread. */
    void post(Work work, Done done);
    /** How many works are waiting or running. */
    [[nodiscard]] size_t waiting() const { return waiting_; }

  private:
    boost::asio::io_context &io_;
    size_t waiting_ = 0; ///< belongs to the camera's thread
    boost::asio::thread_pool thread_;
};

} // namespace camera
