#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string SENSOR = "/config/sensor.cgi";

} // namespace

TEST(Sensor, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera;
    expectChanges(
        camera, SENSOR,
        {{"color=yes&flip=off&mirror=on&backlightcomp=no&maxexposuretime=480&whitebalance=xautoy&sharpness=4&"
          "saturation=-5&contrast=5&brightness=-5",
          "image_c0_brightness=-5&image_c0_contrast=5&image_c0_saturation=-5&image_c0_sharpness=4&"
          "videoin_c0_whitebalance=xautoy&videoin_c0_maxexposure=480&videoin_c0_enableblc=0&videoin_c0_mirror=1&"
          "videoin_c0_flip=0&videoin_c0_color=1"},
         {"flip=on", "&videoin_c0_flip=1"},
         {"whitebalance=auto567890123456&flip=on", "&videoin_c0_flip=1"}});
    expectRanges(camera, SENSOR, "brightness=-5..5 contrast=-5..5 saturation=-5..5 sharpness=-5..5");
    expectRefused(camera, SENSOR, "whitebalance=indoor maxexposuretime=10 mirror=yes color=on x=1");
}

TEST(Sensor, RangesAreAFixedText)
{
    TestCamera camera;
    EXPECT_EQ(camera.get("/config/sensor_info.cgi"),
              okReply("brightness=-5...5\r\ncontrast=-5...5\r\nsaturation=-5...5\r\nwhitebalance=auto\r\n"
                      "maxexposuretime=5, 15, 30, 60, 120, 240, 480\r\nbacklightcomp=yes\r\nautoexposure=no\r\n"
                      "autogainctrl=no\r\nsharpness=-3...3\r\n"));
    EXPECT_EQ(camera.get("/config/sensor_info.cgi", "brightness=1"), BAD_REQUEST);
}
