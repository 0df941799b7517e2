#include "camera/neighbours/streams/stream_profile.h"
#include "camera/picture/painter.h"
#include "camera/surroundings/neighbours.h"

#include <chrono>
#include <ctime>

/*
 * Takes the pictures of the camera: what the settings, the clock and the head make of this moment.
 */

namespace camera
{

namespace
{

std::tm toCalendar(CameraClock::LocalTime time)
{
    // The time is local already: nothing is left to convert.
    const time_t seconds = time.time_since_epoch().count();
    std::tm calendar{};
    gmtime_r(&seconds, &calendar);
    return calendar;
}

class PictureTaker : public PictureSource
{
  public:
    PictureTaker(Surroundings &around, const ViewSource &head)
        : store_(around.store), clock_(around.clock), head_(head), painter_(around.io)
    {
    }

    bool takePicture(int profile, Receiver receiver) override
    {
        const std::optional<StreamProfile> settings = readProfile(store_, profile);
        return settings &&
               painter_.paint(currentContent(settings->resolution), settings->jpegQuality, std::move(receiver));
    }

  private:
    [[nodiscard]] PictureContent currentContent(Resolution resolution) const
    {
        const std::chrono::duration<double> running = std::chrono::steady_clock::now().time_since_epoch();
        return {.width = resolution.width,
                .height = resolution.height,
                .view = head_.view(),
                .mirror = store_.isOn("videoin_c0_mirror"),
                .flip = store_.isOn("videoin_c0_flip"),
                .colour = store_.isOn("videoin_c0_color"),
                .brightness = store_.number("image_c0_brightness"),
                .contrast = store_.number("image_c0_contrast"),
                .saturation = store_.number("image_c0_saturation"),
                .title = store_.text("layout_title_text"),
                .label = store_.text("videoin_c0_text"),
                .clock = toCalendar(clock_.now()),
                .seconds = running.count()};
    }

    const Store &store_;
    const CameraClock &clock_;
    const ViewSource &head_;
    Painter painter_;
};

} // namespace

std::unique_ptr<PictureSource> makePictureSource(Surroundings &around, const ViewSource &head)
{
    return std::make_unique<PictureTaker>(around, head);
}

} // namespace camera
