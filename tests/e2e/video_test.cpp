#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/media_settings.h"
#include "tests/fakes/read_table.h"

#include <gtest/gtest.h>

namespace
{

const std::string VIDEO = "/config/video.cgi";

} // namespace

TEST(Video, ReadsOneProfile)
{
    TestCamera camera({.settings = mediaSettings()});
    camera.store.set(storedFor(VIDEO + "?profileid=1"));
    expectReads(camera, VIDEO + "?profileid=1",
                {{"videoin_c0_s0_resolution=QCIF", "800x600", "176x144"},
                 {"videoin_c0_s0_resolution=CIF", "800x600", "352x288"},
                 {"videoin_c0_s0_resolution=4CIF", "800x600", "704x576"},
                 {"videoin_c0_s0_h264_ratecontrolmode=cbr", "abr", "CBR"},
                 {"videoin_c0_s0_h264_ratecontrolmode=vbr", "abr", "Fixquality"}});
    for (const char *query : {"profileid=0", "profileid=4", "profileid=x", "profile_id=", "0rofileid=1"})
        EXPECT_EQ(camera.get(VIDEO, query), BAD_REQUEST) << query;
    EXPECT_EQ(camera.get(VIDEO), BAD_REQUEST) << "a read needs its profile";
    camera.store.set("capability_videoin_codec", "mjpeg,mpeg4");
    EXPECT_EQ(camera.get(VIDEO, "profileid=1"), INTERNAL_ERROR) << "H.264 keys are not asked for without the codec";
    camera.store.set("videoin_c0_s1_codectype", "theora");
    EXPECT_EQ(camera.get(VIDEO, "profileid=2"), INTERNAL_ERROR);
}

TEST(Video, ChangesAreWrittenUnderTheirCodec)
{
    TestCamera camera({.settings = mediaSettings()});
    expectChanges(
        camera, VIDEO,
        {{"profileid=1&x=1", "videoin_c0_s0_codectype=h264"},
         {"profileid=3&codec=H.264&resolution=320x240&framerate=30&bitrate=2000&quality=5&qualitymode=CBR",
          "videoin_c0_s2_codectype=h264&videoin_c0_s2_resolution=320x240&videoin_c0_s2_h264_maxframe=30&"
          "videoin_c0_s2_h264_bitrate=2000000&videoin_c0_s2_h264_quant=5&videoin_c0_s2_h264_ratecontrolmode=cbr"},
         {"profileid=1&codec=H264x&bitrate=8000",
          "videoin_c0_s0_codectype=h264&videoin_c0_s0_h264_bitrate=8000000"},
         {"profileid=2&bitrate=64&quality=1&qualitymode=Fixquality",
          "videoin_c0_s1_codectype=mjpeg&videoin_c0_s1_mjpeg_quant=1"},
         {"profileid=1&resolution=123456789012", "videoin_c0_s0_codectype=h264"},
         {"profileid=1&codec=12345678", "videoin_c0_s0_codectype=h264"},
         {"profileid=1&codec=mpeg4&qualitymode=Fixquality",
          "videoin_c0_s0_codectype=mpeg4&videoin_c0_s0_mpeg4_ratecontrolmode=vbr"}});
    // KEPT: two digits make a change of a read.
    expectRefused(camera, VIDEO,
                  "profileid=10 profileid=1&codec=VP8 profileid=1&resolution=9x9 profileid=2&qualitymode=CBR "
                  "profileid=1&codec=MJPEG&qualitymode=CBR profileid=1&qualitymode=VBR bitrate=64 profileid=0&x=1 "
                  "profileid=4&x=1");
    expectRanges(camera, VIDEO, "bitrate=1..8000 framerate=1..30 quality=1..5", "profileid=1&");
    camera.waitForTrace("esrInvalidOperation, ptVideoConfigResult->iProfileID=4\n");
}

TEST(Video, AStoreThatFailsShowsDifferentlyByStep)
{
    TestCamera camera({.settings = mediaSettings()});
    // The capabilities, the resolutions, the current codec, the write.
    int failing = 0;
    for (const std::string &reply : {BAD_REQUEST, BAD_REQUEST, INTERNAL_ERROR, INTERNAL_ERROR}) {
        camera.store.answerNothing(++failing);
        EXPECT_EQ(camera.get(VIDEO, "profileid=1&resolution=320x240"), reply) << failing;
        camera.store.heal();
    }
}
