#pragma once

#include "camera/base/worker.h"
#include "camera/neighbours/event_engine/event_log.h"
#include "camera/picture/picture_source.h"
#include "camera/surroundings/neighbour.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace camera
{

/** Takes single pictures and keeps the latest of them as JPEG files in "/var/snapshot". */
class Snapshots
{
  public:
    Snapshots(Surroundings &around, PictureSource &pictures, Worker &worker, EventLog &log);

    void take(const std::string &cause);
    [[nodiscard]] nlohmann::json state() const;

  private:
    void keep(const JpegPicture &picture, const std::string &cause);

    Surroundings &around_;
    PictureSource &pictures_;
    Worker &worker_;
    EventLog &log_;
    int count_ = 0;
    int files_ = 0;
    std::string last_;
};

} // namespace camera
