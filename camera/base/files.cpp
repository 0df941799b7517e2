#include "camera/base/files.h"

#include "camera/base/file_descriptor.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace camera
{

namespace
{

[[noreturn]] void fail(const std::string &path)
{
    throw std::system_error(errno, std::generic_category(), path);
}

/** Makes a rename in a folder survive a power cut. */
void syncFolder(const std::string &folder)
{
    const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.valid() || fsync(opened.get()) != 0)
        fail(folder);
}

void writeAll(const FileDescriptor &file, const std::string &path, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(file.get(), text.data(), text.size());
        if (written < 0)
            fail(path);
        text.remove_prefix(static_cast<size_t>(written));
    }
    if (fsync(file.get()) != 0)
        fail(path);
}

} // namespace

std::string readFile(const std::string &path)
{
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid())
        fail(path);
    std::string text;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(file.get(), buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<size_t>(got));
    if (got < 0)
        fail(path);
    return text;
}

void replaceFile(const std::string &path, std::string_view text, mode_t mode)
{
    std::string temporary = path + ".XXXXXX";
    const FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.valid())
        fail(temporary);
    try {
        if (fchmod(file.get(), mode) != 0)
            fail(temporary);
        writeAll(file, temporary, text);
        if (rename(temporary.c_str(), path.c_str()) != 0)
            fail(path);
    } catch (const std::system_error &) {
        unlink(temporary.c_str());
        throw;
    }
    syncFolder(std::filesystem::path(path).parent_path().string());
}

std::string programFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

} // namespace camera
