#pragma once

#include "tests/fakes/test_support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

/**
 * The digital-IO daemon's end of its FIFO. It only reads when it is asked to; what has been written stays in the
 * pipe until then.
 *
 * What it does not do: split the commands, or switch anything. What the test has not read at the end fails it.
 */
class FakeFifo
{
  public:
    /** Opens the FIFO at `path`, the resolved place of "/var/run/iod/iodfifo", for reading; makes it if need be. */
    explicit FakeFifo(std::string path) : path_(std::move(path))
    {
        (void)mkfifo(path_.c_str(), 0660);
        reader_.reset(checked(open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), path_));
    }
    ~FakeFifo() { EXPECT_EQ(read(), ""); }
    FakeFifo(const FakeFifo &) = delete;
    FakeFifo &operator=(const FakeFifo &) = delete;

    /** Every byte since the last call. */
    std::string read()
    {
        std::string all;
        char bytes[4096];
        for (ssize_t got = 0; (got = ::read(reader_.get(), bytes, sizeof bytes)) > 0;)
            all.append(bytes, static_cast<size_t>(got));
        all.erase(0, std::exchange(filling_, 0));
        return all;
    }
    /** Fills the pipe up to this many bytes; read() does not give the filling. */
    void leaveRoom(size_t bytes)
    {
        const FileDescriptor writer(open(path_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        filling_ = static_cast<size_t>(checked(fcntl(writer.get(), F_SETPIPE_SZ, getpagesize()), path_)) - bytes;
        const std::string filling(filling_, '-');
        if (write(writer.get(), filling.data(), filling.size()) != static_cast<ssize_t>(filling.size()))
            checked(-1, path_);
    }
    /** Nobody reads any more. */
    void close() { reader_.reset(); }

  private:
    std::string path_;
    FileDescriptor reader_;
    size_t filling_ = 0;
};
