#pragma once

#include "tests/fakes/unique_fd.h"

#include <cstddef>
#include <string>

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
    explicit FakeFifo(std::string path);

    /** Every byte since the last call. */
    std::string Read();
    /** Fills the pipe up to this many bytes; Read does not give the filling. */
    void LeaveRoom(size_t bytes);
    /** Nobody reads any more. */
    void Close() { m_reader.Reset(); }

  private:
    std::string m_path;
    UniqueFd m_reader;
    size_t m_filling = 0;
};
