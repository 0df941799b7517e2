#pragma once

#include "camera/base/file_descriptor.h"

#include <string>
#include <string_view>

namespace camera
{

/** The camera's fixed paths that the virtual camera itself serves; each lies below the root folder. */
inline constexpr std::string_view STORE_SOCKET = "/tmp/configer";
inline constexpr std::string_view STORE_FILE = "/etc/configer.db";
inline constexpr std::string_view EVENT_SOCKET = "/var/run/eventmgr/emkelpa";
inline constexpr std::string_view PTZ_SOCKET = "/tmp/ptzctrl";
inline constexpr std::string_view OUTPUT_FIFO = "/var/run/iod/iodfifo";
inline constexpr std::string_view HAND_OVER_SOCKET = "/var/run/http/kelpa";
inline constexpr std::string_view HAND_BACK_SOCKET = "/var/run/http/fdipc1";
inline constexpr std::string_view DECODER_SOCKET = "/var/run/aenc/s0/decodesck_0";
inline constexpr std::string_view DAEMON_PID_FILE = "/var/run/kelpa.pid";
inline constexpr std::string_view ACCOUNT_PROGRAM = "/usr/share/www/cgi-bin/admin/editaccount.cgi";
inline constexpr std::string_view ACCOUNT_CONFIGURATION = "/etc/accountmgr.conf";

/**
 * The folder that is the camera's file system. It belongs to one virtual camera at a time.
 *
 * What has to survive a restart lies in "etc"; sockets, FIFOs and pid files lie in "tmp" and "var/run" and go with
 * the camera.
 */
class RootFolder
{
  public:
    /**
     * Makes the folder where it is missing, takes it for this process, and removes what a camera that was killed
     * left behind. Throws std::runtime_error with a text for the user: in use, path too long, no permission.
     */
    explicit RootFolder(const std::string &folder);
    ~RootFolder();
    RootFolder(const RootFolder &) = delete;
    RootFolder &operator=(const RootFolder &) = delete;

    /** The folder itself, absolute. */
    [[nodiscard]] const std::string &folder() const { return folder_; }
    /** Where a fixed path of the camera ("/tmp/configer") lies. */
    [[nodiscard]] std::string path(std::string_view fixed) const { return folder_ + std::string(fixed); }

    /** Where the folder of a user's camera is when nothing else is said. */
    [[nodiscard]] static std::string defaultFolder();

  private:
    void removeRuntimeFiles() const noexcept;

    std::string folder_;
    FileDescriptor lock_;
};

} // namespace camera
