#include "camera/neighbours/streams/stream_channel.h"

#include "camera/neighbours/streams/stream_profile.h"
#include "camera/surroundings/neighbour.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace camera
{

namespace
{

using Clock = std::chrono::steady_clock;

std::string sizeText(Resolution resolution)
{
    return std::to_string(resolution.width) + "x" + std::to_string(resolution.height);
}

} // namespace

StreamChannel::StreamChannel(Surroundings &around, PictureSource &pictures, int profile)
    : around_(around), pictures_(pictures), profile_(profile), frameTimer_(around.io)
{
}

void StreamChannel::add(FileDescriptor socket)
{
    removeEnded();
    clients_.push_back(StreamClient::start(around_.io, std::move(socket)));
    if (clients_.size() == 1)
        refresh();
}

void StreamChannel::refresh()
{
    if (clients_.empty())
        return;
    if (drawing_) {
        changed_ = true;
        return;
    }
    due_ = Clock::now();
    drawFrame();
}

void StreamChannel::endAll()
{
    for (const auto &client : clients_)
        client->end();
    removeEnded();
}

void StreamChannel::drawFrame()
{
    removeEnded();
    const std::optional<StreamProfile> profile = readProfile(around_.store, profile_);
    if (!profile || !profile->isMotionJpeg())
        endAll();
    if (clients_.empty()) {
        frameTimer_.cancel();
        return;
    }
    if (!drawing_)
        drawing_ = pictures_.takePicture(profile_, [this](const JpegPicture &jpeg) { deliver(jpeg); });
    scheduleFrame(std::chrono::duration_cast<Clock::duration>(std::chrono::seconds(1)) / profile->framesPerSecond);
}

void StreamChannel::scheduleFrame(Clock::duration period)
{
    // Frames keep their rhythm; one that is late does not make the following ones come in a bunch.
    due_ = std::max(due_ + period, Clock::now());
    frameTimer_.expires_at(due_);
    frameTimer_.async_wait([this](const boost::system::error_code &error) {
        if (!error)
            drawFrame();
    });
}

void StreamChannel::deliver(const JpegPicture &jpeg)
{
    drawing_ = false;
    if (jpeg) {
        ++framesDrawn_;
        const JpegPicture part = makeStreamPart(*jpeg);
        for (const auto &client : clients_)
            client->offer(part);
    }
    if (std::exchange(changed_, false))
        refresh();
}

void StreamChannel::removeEnded()
{
    std::erase_if(clients_, [this](const std::shared_ptr<StreamClient> &client) {
        if (!client->ended())
            return false;
        sentToGone_ += client->sent();
        droppedForGone_ += client->dropped();
        return true;
    });
}

size_t StreamChannel::clients()
{
    removeEnded();
    return clients_.size();
}

std::uint64_t StreamChannel::framesSent() const
{
    std::uint64_t sent = sentToGone_;
    for (const auto &client : clients_)
        sent += client->sent();
    return sent;
}

nlohmann::json StreamChannel::state()
{
    removeEnded();
    std::uint64_t dropped = droppedForGone_;
    for (const auto &client : clients_)
        dropped += client->dropped();
    nlohmann::json line = {{"profile", profile_},
                           {"clients", clients_.size()},
                           {"frames_drawn", framesDrawn_},
                           {"frames_sent", framesSent()},
                           {"frames_dropped", dropped}};
    if (const std::optional<StreamProfile> profile = readProfile(around_.store, profile_)) {
        line["codec"] = profile->codec;
        line["resolution"] = sizeText(profile->resolution);
    }
    return line;
}

} // namespace camera
