#pragma once

#include "camera/neighbours/streams/stream_client.h"
#include "camera/picture/picture_source.h"

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <vector>

namespace camera
{

struct Surroundings;

/**
 * The server push of one profile: draws a picture per frame, once for all its clients, and none while it has no
 * clients. Drawing that cannot keep up lowers the frame rate.
 */
class StreamChannel
{
  public:
    StreamChannel(Surroundings &around, PictureSource &pictures, int profile);

    void add(FileDescriptor socket);
    /** A setting of the picture has changed: the next frame is due at once. */
    void refresh();
    /** Closes all connections. */
    void endAll();

    [[nodiscard]] size_t clients();
    [[nodiscard]] std::uint64_t framesSent() const;
    /** Its line in the camera's state. */
    [[nodiscard]] nlohmann::json state();

  private:
    void removeEnded();
    void drawFrame();
    void deliver(const JpegPicture &jpeg);
    void scheduleFrame(std::chrono::steady_clock::duration period);

    Surroundings &around_;
    PictureSource &pictures_;
    int profile_;
    boost::asio::steady_timer frameTimer_;
    std::chrono::steady_clock::time_point due_;
    std::vector<std::shared_ptr<StreamClient>> clients_;
    bool drawing_ = false;
    bool changed_ = false; ///< a setting has changed while a picture was drawn
    std::uint64_t framesDrawn_ = 0;
    std::uint64_t sentToGone_ = 0; ///< frames, to clients that are no longer here
    std::uint64_t droppedForGone_ = 0;
};

} // namespace camera
