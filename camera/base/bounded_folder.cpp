#include "camera/base/bounded_folder.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace camera
{

namespace fs = std::filesystem;

namespace
{

struct Kept {
    fs::file_time_type time;
    std::uint64_t bytes;
    fs::path path;
};

/** The oldest first. By the file's own time: the camera's clock may have been set back since it was named. */
std::vector<Kept> filesOf(const std::string &folder, std::string_view prefix)
{
    std::vector<Kept> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        // What somebody deletes meanwhile, or what cannot be looked at, does not count.
        std::error_code error;
        if (!entry.path().filename().string().starts_with(prefix) || !entry.is_regular_file(error) || error)
            continue;
        const Kept file = {entry.last_write_time(error), error ? 0 : entry.file_size(error), entry.path()};
        if (!error)
            files.push_back(file);
    }
    std::ranges::sort(files, {}, [](const Kept &file) { return std::tie(file.time, file.path); });
    return files;
}

/** Removes a file; false when it stays. */
bool removeFile(const fs::path &path)
{
    std::error_code error;
    fs::remove(path, error); // one that was not there any more is no error
    return !error;
}

} // namespace

void makeRoom(const std::string &folder, const FolderLimit &limit, std::uint64_t bytes)
{
    fs::create_directories(folder);
    std::vector<Kept> files = filesOf(folder, limit.prefix);
    std::erase_if(files,
                  [](const Kept &file) { return file.path.extension() == ".part" && removeFile(file.path); });
    std::uint64_t used = 0;
    for (const Kept &file : files)
        used += file.bytes;
    size_t count = files.size();
    const auto full = [&] { return used + bytes > limit.bytes || count + 1 > limit.files; };
    for (const Kept &file : files) {
        if (!full() || !limit.removeOldest)
            break;
        if (!removeFile(file.path))
            continue;
        used -= file.bytes;
        --count;
    }
    if (full())
        throw std::runtime_error("no room left in " + fs::path(folder).filename().string());
}

std::string freePath(const std::string &folder, const std::string &name, const std::string &extension)
{
    std::string path = folder + "/" + name + extension;
    for (int number = 2; fs::exists(path); ++number)
        path = folder + "/" + name + "-" + std::to_string(number) + extension;
    return path;
}

} // namespace camera
