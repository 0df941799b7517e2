#pragma once

#include "tests/fakes/unique_fd.h"

#include <fcntl.h>
#include <sys/stat.h>

/**
 * The digital-IO daemon's end of its FIFO. It only reads when it is asked to; what has been written stays in the
 * pipe until then.
 *
 * What it does not do: split the commands, or switch anything.
 */
class FakeFifo
{
  public:
    /** Opens the FIFO at `path`, the resolved place of "/var/run/iod/iodfifo", for reading; makes it if need be. */
    explicit FakeFifo(std::string path) : m_path(std::move(path))
    {
        (void)mkfifo(m_path.c_str(), 0660);
        m_reader.Reset(Checked(open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), m_path));
    }

    /** Every byte since the last call. */
    std::string Read()
    {
        std::string all;
        char bytes[4096];
        for (ssize_t got = 0; (got = read(m_reader.Get(), bytes, sizeof bytes)) > 0;)
            all.append(bytes, static_cast<size_t>(got));
        all.erase(0, std::exchange(m_filling, 0));
        return all;
    }
    /** Fills the pipe up to this many bytes; Read does not give the filling. */
    void LeaveRoom(size_t bytes)
    {
        const UniqueFd writer(open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        m_filling = static_cast<size_t>(Checked(fcntl(writer.Get(), F_SETPIPE_SZ, getpagesize()), m_path)) - bytes;
        const std::string filling(m_filling, '-');
        if (write(writer.Get(), filling.data(), filling.size()) != static_cast<ssize_t>(filling.size()))
            Checked(-1, m_path);
    }
    /** Nobody reads any more. */
    void Close() { m_reader.Reset(); }

  private:
    std::string m_path;
    UniqueFd m_reader;
    size_t m_filling = 0;
};
