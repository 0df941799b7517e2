#include "camera/neighbours/event_engine/recorder.h"

#include "camera/base/root_folder.h"
#include "camera/neighbours/event_engine/avi_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace camera
{

namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Mode = RecordingPlan::Mode;

/** Five pictures a second show what happened, and drawing them costs little. */
constexpr milliseconds PICTURE_TIME(200);
/** A disk that is this far behind gets no more pictures. */
constexpr size_t MAX_WAITING_FRAMES = 100;

const char *nameOf(Mode mode)
{
    switch (mode) {
    case Mode::Off:
        return "off";
    case Mode::Armed:
        return "armed";
    case Mode::Event:
        return "event";
    case Mode::Schedule:
        return "schedule";
    }
    return "";
}

} // namespace

/** One file. Made on the camera's thread, then used on the worker's alone. */
class Recorder::Clip
{
  public:
    Clip(std::string folder, std::string shown, std::string name, const FolderLimit &limit, std::uint64_t room)
        : folder_(std::move(folder)), shown_(std::move(shown)), name_(std::move(name)), limit_(limit), room_(room)
    {
    }

    /** After a failure nothing is taken any more, and the file is gone. */
    void add(const std::string &jpeg)
    {
        if (!broken_)
            removeOnFailure([&] {
                if (!writer_)
                    open(jpeg);
                writer_->add(jpeg);
            });
    }

    void finish(milliseconds duration)
    {
        if (!writer_)
            return;
        removeOnFailure([&] { writer_->finish(duration); });
        writer_.reset();
        finished_ = true;
    }

    [[nodiscard]] bool broken() const { return broken_; }
    /** What the camera's users know it by; empty when there is no file. */
    [[nodiscard]] std::string result() const { return finished_ ? path_ : ""; }

  private:
    void open(const std::string &jpeg)
    {
        const auto size = jpegSize(jpeg);
        if (!size)
            throw std::runtime_error("no picture");
        makeRoom(folder_, limit_, room_);
        const std::string path = freePath(folder_, name_, ".avi");
        path_ = shown_ + path.substr(folder_.size());
        writer_ = std::make_unique<AviWriter>(path, *size);
    }

    template <class Work>
    void removeOnFailure(Work work)
    {
        try {
            work();
        } catch (...) {
            broken_ = true;
            writer_.reset(); // what it has written may be what fills the disk
            throw;
        }
    }

    std::string folder_;
    std::string shown_;
    std::string name_;
    FolderLimit limit_;
    std::uint64_t room_;
    std::string path_;
    std::unique_ptr<AviWriter> writer_;
    bool broken_ = false;
    bool finished_ = false;
};

Recorder::Recorder(Surroundings &around, PictureSource &pictures, Worker &worker, EventLog &log)
    : around_(around), pictures_(pictures), worker_(worker), log_(log), timer_(around.io), clips_(*this)
{
}

Recorder::~Recorder()
{
    clips_.follow({}, steady_clock::now());
}

void Recorder::follow(const RecordingPlan &plan, const RecordingPlace &place)
{
    // What is recorded for one place does not go on in another.
    if (place.folder != place_.folder)
        clips_.follow({}, steady_clock::now());
    plan_ = plan;
    place_ = place;
    clips_.follow(plan, steady_clock::now());
    if (!running_ && clips_.wantsPictures())
        takePictures();
}

void Recorder::takePictures()
{
    clips_.advance(steady_clock::now());
    running_ = clips_.wantsPictures();
    if (!running_)
        return;
    if (!awaitsPicture_)
        awaitsPicture_ = pictures_.takePicture(plan_.profile, [this](const JpegPicture &picture) {
            awaitsPicture_ = false;
            if (picture)
                clips_.addPicture(picture, steady_clock::now());
        });
    timer_.expires_after(PICTURE_TIME);
    timer_.async_wait([this](const boost::system::error_code &error) {
        if (!error)
            takePictures();
    });
}

void Recorder::beginClip(Mode cause)
{
    const std::string name = toFileName(around_.clock.now()) + "_" + nameOf(cause);
    clip_ =
        std::make_shared<Clip>(around_.root.path(place_.folder), place_.folder, name, place_.limit, plan_.largest);
    log_.add(std::string("recording began: ") + nameOf(cause));
}

void Recorder::addPicture(const JpegPicture &picture)
{
    if (worker_.waiting() >= MAX_WAITING_FRAMES) {
        ++lostPictures_;
        return;
    }
    worker_.post([clip = clip_, picture] { clip->add(*picture); },
                 [this, clip = clip_](const std::string &error) {
                     if (error.empty())
                         return;
                     fail(error);
                     if (clip == clip_)
                         clips_.fail(steady_clock::now());
                 });
}

void Recorder::endClip(milliseconds duration)
{
    const std::shared_ptr<Clip> clip = std::exchange(clip_, nullptr);
    worker_.post([clip, duration] { clip->finish(duration); },
                 [this, clip](const std::string &error) {
                     if (!error.empty()) {
                         fail(error);
                     } else if (const std::string path = clip->result(); !path.empty()) {
                         ++finished_;
                         last_ = path;
                         log_.add("recorded: " + path);
                     } else if (!clip->broken()) {
                         log_.add("recording ended without a file");
                     }
                 });
}

void Recorder::fail(const std::string &error)
{
    ++failed_;
    log_.add("recording failed: " + error);
}

nlohmann::json Recorder::state() const
{
    return {{"mode", nameOf(plan_.mode)}, {"recording", clips_.recording()}, {"clips", finished_}, {"last", last_},
            {"failed", failed_},          {"lost_pictures", lostPictures_}};
}

} // namespace camera
