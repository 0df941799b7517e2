#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

/** A folder with a short path, removed with the object. */
class TemporaryFolder
{
  public:
    TemporaryFolder()
    {
        char name[] = "/tmp/kc.XXXXXX";
        if (mkdtemp(name) == nullptr)
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        path_ = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] const std::string &path() const { return path_; }
    [[nodiscard]] std::string path(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};
