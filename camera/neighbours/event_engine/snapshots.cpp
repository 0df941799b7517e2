#include "camera/neighbours/event_engine/snapshots.h"

#include "camera/base/bounded_folder.h"
#include "camera/base/files.h"
#include "camera/base/root_folder.h"

#include <cctype>
#include <nlohmann/json.hpp>

namespace camera
{

namespace
{

constexpr std::string_view FOLDER = "/var/snapshot";
constexpr FolderLimit LIMIT = {.bytes = 64U << 20, .files = 200, .removeOldest = true};
/** A disk that is this far behind gets no more pictures. */
constexpr size_t MAX_WAITING_PICTURES = 20;
constexpr int PROFILE = 1;

/** The prefix that a client has set, as a part of a file's name: it may not leave the folder. */
std::string safeName(std::string text)
{
    for (char &letter : text)
        if (!isalnum(static_cast<unsigned char>(letter)) && letter != '-' && letter != '_')
            letter = '_';
    return text.empty() ? "snapshot" : text;
}

} // namespace

Snapshots::Snapshots(Surroundings &around, PictureSource &pictures, Worker &worker, EventLog &log)
    : around_(around), pictures_(pictures), worker_(worker), log_(log)
{
}

void Snapshots::take(const std::string &cause)
{
    ++count_;
    const bool coming =
        worker_.waiting() < MAX_WAITING_PICTURES &&
        pictures_.takePicture(PROFILE, [this, cause](const JpegPicture &picture) { keep(picture, cause); });
    if (!coming)
        log_.add("snapshot without a picture: " + cause);
}

void Snapshots::keep(const JpegPicture &picture, const std::string &cause)
{
    if (!picture)
        return log_.add("snapshot without a picture: " + cause);
    const std::string name =
        safeName(around_.store.text("media_i2_snapshot_prefix")) + "_" + toFileName(around_.clock.now());
    // Written by the worker, read when it is done.
    const auto path = std::make_shared<std::string>();
    const std::string folder = around_.root.path(FOLDER);
    worker_.post(
        [=] {
            makeRoom(folder, LIMIT, picture->size());
            const std::string file = freePath(folder, name, ".jpg");
            replaceFile(file, *picture, 0644);
            *path = std::string(FOLDER) + file.substr(folder.size());
        },
        [this, path, cause](const std::string &error) {
            if (!error.empty())
                return log_.add("snapshot failed: " + error);
            ++files_;
            last_ = *path;
            log_.add("snapshot: " + cause + ": " + last_);
        });
}

nlohmann::json Snapshots::state() const
{
    return {{"count", count_}, {"files", files_}, {"last", last_}};
}

} // namespace camera
