#include "daemon/audio/audio_frames.h"
#include "daemon/audio/audio_waits.h"
#include "daemon/audio/decoder_socket.h"
#include "platform/log.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/temp_root.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>

namespace
{

/** What the audio thread has in hand, with a fake decoder behind it and sleeps that take no time. */
class AudioFrames : public testing::Test
{
  protected:
    AudioFrames()
    {
        Debug_Init(2); // the log goes to standard error too
        s_self = this;
        g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t milliseconds) {
            s_self->m_sleeps.push_back(milliseconds);
            if (s_self->m_onSleep)
                s_self->m_onSleep(s_self->m_sleeps.size());
        };
        m_state.iDecoderSocket = AudioUpstream_OpenAdecUnixSocket();
        EXPECT_GE(m_state.iDecoderSocket, 0);
    }
    ~AudioFrames() override
    {
        UniqueFd(m_state.iDecoderSocket).Reset();
        g_tAudioUpstreamWaits = m_savedWaits;
        Debug_Init(0);
    }

    /** A session anew, with the stream's first four bytes already gone. */
    void Restart()
    {
        const int32_t decoder = m_state.iDecoderSocket;
        m_state = {};
        m_state.iDecoderSocket = decoder;
    }

    /** Receives the bytes as the audio thread does, as many at a time as there is room for, and plays them. */
    int Feed(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const size_t room = sizeof m_state.acBuf - m_state.uiFill;
            EXPECT_GT(room, 0U) << "the buffer is full";
            const size_t taken = std::min(room, bytes.size());
            if (taken == 0)
                return -1;
            memcpy(m_state.acBuf + m_state.uiFill, bytes.data(), taken);
            m_state.uiFill += static_cast<uint32_t>(taken);
            bytes.remove_prefix(taken);
            if (m_state.uiSkip != 0)
                AudioUpstream_SkipData(m_state);
            if (AudioUpstream_Play(m_state) != 0)
                return -1;
        }
        return 0;
    }

    /** Feeds the bytes and gives what is traced and logged meanwhile. */
    struct Said {
        int result;
        std::string trace;
        std::string log;
    };
    Said FeedAndListen(std::string_view bytes)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int result = Feed(bytes);
        return {result, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
    }

    RootEnvironment m_root;
    FakeDecoder m_decoder{m_root.Path("/var/run/aenc/s0/decodesck_0")};
    AudioUpstreamState m_state = {};
    std::vector<uint32_t> m_sleeps;
    std::function<void(size_t nth)> m_onSleep;

  private:
    inline static AudioFrames *s_self = nullptr;
    AudioUpstreamWaits m_savedWaits = g_tAudioUpstreamWaits;
};

using Messages = std::vector<std::string>;

std::string Times(int count, const std::string &text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

} // namespace

TEST_F(AudioFrames, AStreamCutAnywherePlaysAsOneInOnePiece)
{
    const std::string small = AudioPayload(1, 1);
    const std::string usual = AudioPayload(160, 2);
    const std::string large = AudioPayload(1500, 3);
    const std::string stream = RANDOM_4CC + AudioFrame(usual) + AudioFrame("") + AudioFrame(small, 2) +
                               AudioFrame(large, 2) + AudioFrame(usual, 1);
    const Messages expected = {DECODER_CONFIG,      DecoderFrame(usual), DecoderFrame(""), DECODER_CONFIG,
                               DecoderFrame(small), DecoderFrame(large), DECODER_CONFIG,   DecoderFrame(usual)};
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        Restart();
        m_state.uiSkip = 4;
        ASSERT_EQ(Feed(std::string_view(stream).substr(0, cut)), 0) << "cut at " << cut;
        ASSERT_EQ(Feed(std::string_view(stream).substr(cut)), 0) << "cut at " << cut;
        ASSERT_EQ(m_decoder.Messages(), expected) << "cut at " << cut;
        ASSERT_EQ(m_state.uiFill, 0U) << "cut at " << cut;
    }
    Restart();
    m_state.uiSkip = 4;
    for (const char byte : stream)
        ASSERT_EQ(Feed({&byte, 1}), 0);
    EXPECT_EQ(m_decoder.Messages(), expected) << "byte by byte";
}

TEST_F(AudioFrames, TheLargestFrameIsPlayedWhole)
{
    const std::string payload = AudioPayload(9999 - 40);
    const std::string after = AudioPayload(160, 1);
    EXPECT_EQ(Feed(AudioFrame(payload) + AudioFrame(payload) + AudioFrame(after)), 0);
    EXPECT_EQ(m_decoder.Messages(),
              (Messages{DECODER_CONFIG, DecoderFrame(payload), DecoderFrame(payload), DecoderFrame(after)}));
}

TEST_F(AudioFrames, AnOversizedFrameIsPassedOverAndTheNextOnePlays)
{
    const std::string after = AudioPayload(160, 1);
    for (const size_t size : {size_t{9960}, size_t{31234}}) {
        const std::string stream = AudioFrame(AudioPayload(size)) + AudioFrame(after);
        // Every cut near the header, the end of the buffer and the end of the frame, and some between.
        for (size_t cut = 0; cut <= stream.size(); cut += (cut < 50 || cut + 250 > stream.size()) ? 1 : 97) {
            Restart();
            ASSERT_EQ(Feed(std::string_view(stream).substr(0, cut)), 0) << size << " cut at " << cut;
            ASSERT_EQ(Feed(std::string_view(stream).substr(cut)), 0) << size << " cut at " << cut;
            ASSERT_EQ(m_decoder.Messages(), (Messages{DECODER_CONFIG, DecoderFrame(after)}))
                << size << " cut at " << cut;
        }
    }
    Restart();
    const Said said = FeedAndListen(AudioHeaderBytes({.dataLength = 10000}) + "abc");
    EXPECT_EQ(said.trace, "\n[AudioUpstream_Play]Skip 9997 bytes\n");
    EXPECT_EQ(said.log, "[AudioUpstream_Play]ulDataLength 0x00002710 is too large\n");
    EXPECT_EQ(FeedAndListen(AudioPayload(9997)).trace, "\n[AudioUpstream_SkipData]Skip data done\n");
}

TEST_F(AudioFrames, ALengthNearTheLimitOf32BitsIsCountedRight)
{
    const struct {
        uint32_t dataLength;
        size_t received; ///< of the payload, together with the header
        uint32_t skip;
    } cases[] = {{0xFFFFFFFF, 0, 0xFFFFFFFF}, {0xFFFFFFFF, 3, 0xFFFFFFFC},    {0xFFFFFFD8, 0, 0xFFFFFFD8},
                 {0xFFFFFFD7, 1, 0xFFFFFFD6}, {0x80000000, 9960, 0x7FFFD918}, {9960, 9960, 0}};
    for (const auto &c : cases) {
        Restart();
        EXPECT_EQ(Feed(AudioHeaderBytes({.dataLength = c.dataLength}) + std::string(c.received, 'x')), 0);
        EXPECT_EQ(m_state.uiSkip, c.skip) << c.dataLength << " with " << c.received;
        EXPECT_EQ(m_state.uiFill, 0U);
    }
    EXPECT_TRUE(m_decoder.Messages().empty());
}

TEST_F(AudioFrames, AWrongHeaderEndsTheSessionAndSaysWhy)
{
    const std::string before = AudioPayload(20);
    /** What is logged, and traced unless the trace has a name of its own for it. */
    const auto expectWrong = [&](const AudioHeader &header, const std::string &log, const std::string &trace = {}) {
        SCOPED_TRACE(log);
        Restart();
        const Said said = FeedAndListen(AudioFrame(before) + AudioHeaderBytes(header));
        EXPECT_EQ(said.result, -1);
        EXPECT_EQ(said.trace, "\n[AudioUpstream_Play]" + (trace.empty() ? log : trace) + "\n");
        EXPECT_EQ(said.log, "[AudioUpstream_Play]" + log + "\n");
        EXPECT_EQ(m_decoder.Messages(), (Messages{DECODER_CONFIG, DecoderFrame(before)})) << "played before it";
    };
    const std::string no = " is not supported";
    expectWrong({.id = 0x000001F6}, "Wrong ulHdrID 0x000001f6");
    expectWrong({.id = 0x0000F601}, "Wrong ulHdrID 0x0000f601");
    expectWrong({.length = 39}, "Wrong ulHdrLength 0x00000027");
    expectWrong({.length = 0x80000028}, "Wrong ulHdrLength 0x80000028");
    expectWrong({.format = 0}, "usFormat 0x0000" + no);
    expectWrong({.format = 3}, "usFormat 0x0003" + no);
    expectWrong({.format = 0x101}, "usFormat 0x0101" + no);
    expectWrong({.channels = 2}, "usChannels 0x0002" + no, "Channel number 0x0002" + no);
    expectWrong({.sampleRate = 16000}, "usSampleRate 0x3e80" + no, "Sample rate number 0x3e80" + no);
    // The first of several counts, and an oversized frame after all of them.
    expectWrong({.length = 0, .format = 9, .channels = 9, .sampleRate = 9}, "Wrong ulHdrLength 0x00000000");
    expectWrong({.channels = 9, .sampleRate = 9}, "usChannels 0x0009" + no, "Channel number 0x0009" + no);
    expectWrong({.dataLength = 10000, .sampleBits = 9}, "usSampleBits 0x0009" + no, "Sample bits 0x0009" + no);
}

TEST_F(AudioFrames, ABlockedDecoderLosesTheFrameAndTheFormatIsAnnouncedLater)
{
    m_decoder.Block();
    const Said said = FeedAndListen(AudioFrame("lost"));
    EXPECT_EQ(said.result, 0);
    EXPECT_EQ(said.trace, "[AudioUpstream_Play]WOULDBLOCK when write ConfG711, skip this frame\n");
    EXPECT_EQ(m_sleeps, std::vector<uint32_t>(5, 100));
    m_decoder.Unblock();
    EXPECT_EQ(Feed(AudioFrame("heard")), 0);
    EXPECT_EQ(m_decoder.Messages(), (Messages{DECODER_CONFIG, DecoderFrame("heard")}));

    m_sleeps.clear();
    m_decoder.Block();
    const Said second = FeedAndListen(AudioFrame("lost") + AudioFrame("lost too"));
    EXPECT_EQ(second.result, 0);
    EXPECT_EQ(second.trace, Times(2, "[AudioUpstream_Play]EWOULDBLOCK  when write AudioFrame, skip this frame\n"));
    EXPECT_EQ(m_sleeps, std::vector<uint32_t>(10, 100));
    m_decoder.Unblock();
    EXPECT_EQ(Feed(AudioFrame("heard")), 0);
    EXPECT_EQ(m_decoder.Messages(), (Messages{DecoderFrame("heard")}));
}

TEST_F(AudioFrames, ADecoderThatIsBackForTheFifthTryLosesNothing)
{
    const auto returns = [this](auto action) {
        m_sleeps.clear();
        m_onSleep = [action](size_t nth) {
            if (nth == 4)
                action();
        };
    };
    m_decoder.Block();
    returns([this] { m_decoder.Unblock(); });
    EXPECT_EQ(Feed(AudioFrame("heard")), 0);
    EXPECT_EQ(m_sleeps, std::vector<uint32_t>(4, 100));
    EXPECT_EQ(m_decoder.Messages(), (Messages{DECODER_CONFIG, DecoderFrame("heard")}));

    m_decoder.Vanish();
    returns([this] { m_decoder.Start(); });
    const Said said = FeedAndListen(AudioFrame("heard"));
    EXPECT_EQ(said.result, 0);
    EXPECT_EQ(said.trace,
              Times(4, "[AudioUpstream_OpenAdecUnixSocket]Try again\n") +
                  "[AudioUpstream_OpenAdecUnixSocket]sckAdec = " + std::to_string(m_state.iDecoderSocket) + "\n");
    EXPECT_EQ(m_sleeps, std::vector<uint32_t>(4, 100));
    EXPECT_EQ(m_decoder.Messages(), Messages{DecoderFrame("heard")});
}

TEST_F(AudioFrames, ADecoderThatWasRestartedGetsTheFrameThatFoundTheOldOneGone)
{
    EXPECT_EQ(Feed(AudioFrame("before")), 0);
    EXPECT_EQ(m_decoder.Messages().size(), 2U);
    const size_t descriptors = CountDescriptors();
    m_decoder.Vanish();
    m_decoder.Start();
    EXPECT_EQ(Feed(AudioFrame("after") + AudioFrame("later")), 0);
    EXPECT_TRUE(m_sleeps.empty());
    EXPECT_EQ(m_decoder.Messages(), (Messages{DecoderFrame("after"), DecoderFrame("later")}));
    EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST_F(AudioFrames, ADecoderThatStaysAwayEndsTheSession)
{
    const size_t descriptors = CountDescriptors();
    m_decoder.Vanish();
    const Said said = FeedAndListen(AudioFrame("lost"));
    EXPECT_EQ(said.result, -1);
    EXPECT_EQ(said.trace, Times(5, "[AudioUpstream_OpenAdecUnixSocket]Try again\n") +
                              "[AudioUpstream_OpenAdecUnixSocket]AudioUpstream_OpenUnixSocket failed\n");
    EXPECT_EQ(m_sleeps, std::vector<uint32_t>(5, 100));
    EXPECT_EQ(m_state.iDecoderSocket, -1);
    EXPECT_EQ(CountDescriptors(), descriptors - 2) << "the decoder's end and ours";
}

TEST_F(AudioFrames, ADecoderThatComesBackBlockedEndsTheSession)
{
    m_decoder.Vanish();
    m_onSleep = [this](size_t) {
        m_decoder.Start();
        m_decoder.Block();
    };
    EXPECT_EQ(Feed(AudioFrame("lost")), -1);
    EXPECT_EQ(m_sleeps.size(), 1U) << "one more write, and no patience with it";
}
