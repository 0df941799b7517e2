#pragma once

#include "platform/path.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

/**
 * A camera's file tree in a temporary folder with a short path, removed at the end: the folders that the daemon and
 * its neighbours use, and account files with one user of each camera group (admin 1000, oscar 1001, vera 1002) and
 * one who is in none (guest 1003).
 */
class TempRoot
{
  public:
    TempRoot();
    ~TempRoot();
    TempRoot(const TempRoot &) = delete;
    TempRoot &operator=(const TempRoot &) = delete;

    [[nodiscard]] const std::string &path() const { return path_; }
    /** Where one of the camera's fixed paths ("/tmp/configer") stands. */
    [[nodiscard]] std::string path(const std::string &fixedPath) const { return path_ + fixedPath; }
    /** Writes a file of the camera, named by its fixed path. */
    void write(const std::string &fixedPath, const std::string &content) const;

  private:
    std::string path_;
};

/** The folder that this process itself uses: KELPA_ROOT is set as long as the object lives, SIGPIPE is ignored. */
class RootEnvironment : public TempRoot
{
  public:
    RootEnvironment()
    {
        setenv(PATH_ROOT_VARIABLE, path().c_str(), 1);
        Path_Open();
        signal(SIGPIPE, SIG_IGN);
    }
    ~RootEnvironment()
    {
        unsetenv(PATH_ROOT_VARIABLE);
        Path_Open();
    }
};

/** The whole content of a file; empty when it cannot be read. */
[[nodiscard]] std::string readWholeFile(const std::filesystem::path &path);
