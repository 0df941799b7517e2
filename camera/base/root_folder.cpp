#include "camera/base/root_folder.h"

#include "camera/base/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <sys/file.h>
#include <sys/un.h>
#include <system_error>

namespace camera
{

namespace fs = std::filesystem;

namespace
{

constexpr std::string_view FOLDERS[] = {
    "/tmp",          "/usr/bin",     "/usr/share/www/cgi-bin/admin", "/var/run/aenc/s0", "/var/run/eventmgr",
    "/var/run/http", "/var/run/iod",
};
constexpr std::string_view RUNTIME_FOLDERS[] = {"/tmp", "/var/run"};

/** The longest socket path of the camera, and what a socket address holds of it, unix(7). */
constexpr std::string_view LONGEST_SOCKET = DECODER_SOCKET;
constexpr size_t MAX_FOLDER = sizeof(sockaddr_un::sun_path) - LONGEST_SOCKET.size();

constexpr std::string_view ACCOUNT_CONFIGURATION_TEXT = "# Groups whose members are users of the camera.\n"
                                                        "groups=admin,operator,view\n";

/** Takes the folder for this process until the descriptor is closed, however the process ends. */
FileDescriptor lockFolder(const std::string &folder)
{
    FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.valid())
        throw std::system_error(errno, std::generic_category(), folder);
    if (flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            throw std::runtime_error("another virtual camera is running in " + folder +
                                     "; stop it, or choose another folder with --root");
        throw std::system_error(errno, std::generic_category(), folder);
    }
    return opened;
}

/** Puts the account program where the daemon looks for it. */
void linkAccountProgram(const std::string &place)
{
    const fs::path program = fs::path(programFolder()) / fs::path(place).filename();
    if (!fs::exists(program)) {
        std::cerr << "kelpa-camera: " << program.string() << " is missing: users cannot be changed\n";
        return;
    }
    fs::remove(place);
    fs::create_symlink(program, place);
}

} // namespace

RootFolder::RootFolder(const std::string &folder)
    : folder_(fs::weakly_canonical(fs::absolute(folder)).lexically_normal().string())
{
    while (folder_.size() > 1 && folder_.ends_with('/'))
        folder_.pop_back();
    if (folder_.size() > MAX_FOLDER)
        throw std::runtime_error("the root folder's path is too long for the sockets in it (" +
                                 std::to_string(folder_.size()) + " characters, at most " +
                                 std::to_string(MAX_FOLDER) + "): " + folder_);
    fs::create_directories(folder_);
    lock_ = lockFolder(folder_);
    // The first file that a camera's folder gets tells it from everybody else's.
    const bool isCameras = fs::exists(path(ACCOUNT_CONFIGURATION));
    if (!isCameras && !fs::is_empty(folder_))
        throw std::runtime_error(folder_ + " is neither empty nor a camera's: choose another folder with --root");
    fs::permissions(folder_, fs::perms::owner_all);
    fs::create_directories(path("/etc"));
    if (!isCameras)
        replaceFile(path(ACCOUNT_CONFIGURATION), ACCOUNT_CONFIGURATION_TEXT, 0644);
    for (const std::string_view wanted : FOLDERS)
        fs::create_directories(path(wanted));
    removeRuntimeFiles();
    linkAccountProgram(path(ACCOUNT_PROGRAM));
}

RootFolder::~RootFolder()
{
    removeRuntimeFiles();
}

void RootFolder::removeRuntimeFiles() const noexcept
{
    for (const std::string_view folder : RUNTIME_FOLDERS) {
        std::error_code error;
        for (fs::recursive_directory_iterator at(path(folder), error), end; !error && at != end;
             at.increment(error))
            if (at->is_socket(error) || at->is_fifo(error) || at->path().extension() == ".pid")
                fs::remove(at->path(), error);
    }
}

std::string RootFolder::defaultFolder()
{
    const auto variable = [](const char *name) {
        const char *value = std::getenv(name);
        return std::string(value != nullptr ? value : "");
    };
    if (const std::string state = variable("XDG_STATE_HOME"); state.starts_with('/'))
        return state + "/kelpa-camera";
    if (const std::string home = variable("HOME"); home.starts_with('/'))
        return home + "/.local/state/kelpa-camera";
    throw std::runtime_error("neither XDG_STATE_HOME nor HOME is set: choose a folder with --root");
}

} // namespace camera
