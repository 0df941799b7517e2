#pragma once

#include "camera/base/bounded_folder.h"
#include "camera/base/worker.h"
#include "camera/neighbours/event_engine/clip_recorder.h"
#include "camera/neighbours/event_engine/event_log.h"
#include "camera/picture/picture_source.h"
#include "camera/surroundings/neighbour.h"

#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace camera
{

/** Where the clips go: a folder of the camera ("/mnt/cf"), and how much of it they may take. */
struct RecordingPlace {
    std::string folder;
    FolderLimit limit;
};

/** Records what the camera sees as Motion-JPEG AVI files. */
class Recorder : private ClipSink
{
  public:
    Recorder(Surroundings &around, PictureSource &pictures, Worker &worker, EventLog &log);
    ~Recorder() override;

    /** Does from now on what the plan says; to be called as often as anybody likes. */
    void follow(const RecordingPlan &plan, const RecordingPlace &place);
    /** Its part of GET /camera/state. */
    [[nodiscard]] nlohmann::json state() const;

  private:
    class Clip;

    void beginClip(RecordingPlan::Mode cause) override;
    void addPicture(const JpegPicture &picture) override;
    void endClip(std::chrono::milliseconds duration) override;
    void takePictures();
    void fail(const std::string &error);

    Surroundings &around_;
    PictureSource &pictures_;
    Worker &worker_;
    EventLog &log_;
    boost::asio::steady_timer timer_;
    bool running_ = false; ///< the timer
    bool awaitsPicture_ = false;
    ClipRecorder clips_;
    RecordingPlan plan_;
    RecordingPlace place_;
    std::shared_ptr<Clip> clip_;
    int finished_ = 0;
    int failed_ = 0;
    int lostPictures_ = 0;
    std::string last_;
};

} // namespace camera
