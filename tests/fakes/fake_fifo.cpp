#include "tests/fakes/fake_fifo.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

FakeFifo::FakeFifo(std::string path) : m_path(std::move(path))
{
    if (mkfifo(m_path.c_str(), 0660) != 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), m_path);
    m_reader.Reset(open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!m_reader.Valid())
        throw std::system_error(errno, std::generic_category(), m_path);
}

std::string FakeFifo::Read()
{
    std::string all;
    char bytes[4096];
    for (ssize_t got = 0; (got = read(m_reader.Get(), bytes, sizeof bytes)) > 0;)
        all.append(bytes, static_cast<size_t>(got));
    all.erase(0, std::exchange(m_filling, 0));
    return all;
}

void FakeFifo::LeaveRoom(size_t bytes)
{
    const UniqueFd writer(open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    const int size = fcntl(writer.Get(), F_SETPIPE_SZ, getpagesize());
    if (size < 0)
        throw std::system_error(errno, std::generic_category(), m_path);
    m_filling = static_cast<size_t>(size) - bytes;
    const std::string filling(m_filling, '-');
    if (write(writer.Get(), filling.data(), filling.size()) != static_cast<ssize_t>(filling.size()))
        throw std::system_error(errno, std::generic_category(), m_path);
}
