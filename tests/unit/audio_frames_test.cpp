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

using Action = std::function<void()>;
using Messages = std::vector<std::string>;

/** What the audio thread has in hand, with a fake decoder behind it and sleeps that take no time. */
class AudioFrames : public testing::Test
{
  protected:
    AudioFrames()
    {
        Debug_Init(2); // the log goes to standard error too
        s_sleeps.clear();
        s_onSleep = {};
        state_.iDecoderSocket = -1;
        g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t milliseconds) {
            s_sleeps.push_back(milliseconds);
            if (s_onSleep && s_sleeps.size() == s_actsAt)
                s_onSleep();
        };
        restart();
    }
    ~AudioFrames() override
    {
        FileDescriptor(state_.iDecoderSocket).reset();
        g_tAudioUpstreamWaits = savedWaits_;
        Debug_Init(0);
    }

    /** A new session; the stream's first bytes that are to be skipped are still to come. */
    void restart(uint32_t skip = 0)
    {
        const int32_t decoder = state_.iDecoderSocket;
        state_ = {};
        state_.iDecoderSocket = decoder >= 0 ? decoder : AudioUpstream_OpenAdecUnixSocket();
        state_.uiSkip = skip;
        ASSERT_GE(state_.iDecoderSocket, 0);
    }

    /** Receives the bytes as the audio thread does, as many at a time as there is room for, and plays them. */
    int feed(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const size_t taken = std::min(sizeof state_.acBuf - state_.uiFill, bytes.size());
            EXPECT_GT(taken, 0U) << "the buffer is full";
            if (taken == 0)
                return -1;
            memcpy(state_.acBuf + state_.uiFill, bytes.data(), taken);
            state_.uiFill += static_cast<uint32_t>(taken);
            bytes.remove_prefix(taken);
            if (state_.uiSkip != 0)
                AudioUpstream_SkipData(state_);
            if (AudioUpstream_Play(state_) != 0)
                return -1;
        }
        return 0;
    }
    /** Feeds the stream in two pieces. */
    void expectPlayed(std::string_view stream, size_t cut, const Messages &expected)
    {
        ASSERT_EQ(feed(stream.substr(0, cut)), 0) << "cut at " << cut;
        ASSERT_EQ(feed(stream.substr(cut)), 0) << "cut at " << cut;
        ASSERT_EQ(decoder_.messages(), expected) << "cut at " << cut;
        ASSERT_EQ(state_.uiFill, 0U) << "cut at " << cut;
    }

    /** Feeds the bytes and gives what is traced and logged meanwhile. */
    struct Said {
        int result;
        std::string trace;
        std::string log;
    };
    Said feedAndListen(std::string_view bytes)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int result = feed(bytes);
        return {result, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
    }

    RootEnvironment root_;
    FakeDecoder decoder_{root_.path("/var/run/aenc/s0/decodesck_0")};
    AudioUpstreamState state_ = {};
    inline static std::vector<uint32_t> s_sleeps;
    inline static Action s_onSleep;    ///< what happens during a sleep
    inline static size_t s_actsAt = 0; ///< the number of that sleep, from 1

  private:
    AudioUpstreamWaits savedWaits_ = g_tAudioUpstreamWaits;
};

std::string times(int count, const std::string &text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

} // namespace

TEST_F(AudioFrames, AStreamCutAnywherePlaysAsOneInOnePiece)
{
    const std::string small = audioPayload(1, 1);
    const std::string usual = audioPayload(160, 2);
    const std::string large = audioPayload(1500, 3);
    const std::string largest = audioPayload(9999 - 40);
    const std::string stream = RANDOM_4CC + audioFrame(usual) + audioFrame("") + audioFrame(small, 2) +
                               audioFrame(large, 2) + audioFrame(usual, 1);
    const Messages expected = {DECODER_CONFIG,      decoderFrame(usual), decoderFrame(""), DECODER_CONFIG,
                               decoderFrame(small), decoderFrame(large), DECODER_CONFIG,   decoderFrame(usual)};
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        restart(4);
        expectPlayed(stream, cut, expected);
    }
    restart(4);
    for (const char byte : stream)
        ASSERT_EQ(feed({&byte, 1}), 0);
    EXPECT_EQ(decoder_.messages(), expected) << "byte by byte";
    restart();
    EXPECT_EQ(feed(audioFrame(largest) + audioFrame(largest)), 0);
    EXPECT_EQ(decoder_.messages(), (Messages{DECODER_CONFIG, decoderFrame(largest), decoderFrame(largest)}));
}

TEST_F(AudioFrames, AnOversizedFrameIsPassedOverAndTheNextOnePlays)
{
    const std::string after = audioPayload(160, 1);
    for (const size_t size : {size_t{9960}, size_t{31234}}) {
        const std::string stream = audioFrame(audioPayload(size)) + audioFrame(after);
        // Every cut near the header, the end of the buffer and the end of the frame, and some between.
        for (size_t cut = 0; cut <= stream.size(); cut += (cut < 50 || cut + 250 > stream.size()) ? 1 : 97) {
            restart();
            expectPlayed(stream, cut, {DECODER_CONFIG, decoderFrame(after)});
        }
    }
    restart();
    const Said said = feedAndListen(audioHeaderBytes({.dataLength = 10000}) + "abc");
    EXPECT_EQ(said.trace, "\n[AudioUpstream_Play]Skip 9997 bytes\n");
    EXPECT_EQ(said.log, "[AudioUpstream_Play]ulDataLength 0x00002710 is too large\n");
    EXPECT_EQ(feedAndListen(audioPayload(9997)).trace, "\n[AudioUpstream_SkipData]Skip data done\n");
}

TEST_F(AudioFrames, ALengthNearTheLimitOf32BitsIsCountedRight)
{
    const struct {
        uint32_t dataLength;
        size_t received; ///< of the payload, together with the header
        uint32_t skip;
    } cases[] = {
        {0xFFFFFFFF, 0, 0xFFFFFFFF}, {0xFFFFFFFF, 3, 0xFFFFFFFC}, {0xFFFFFFD7, 1, 0xFFFFFFD6}, {9960, 9960, 0}};
    for (const auto &c : cases) {
        restart();
        EXPECT_EQ(feed(audioHeaderBytes({.dataLength = c.dataLength}) + std::string(c.received, 'x')), 0);
        EXPECT_EQ(state_.uiSkip, c.skip) << c.dataLength << " with " << c.received;
        EXPECT_EQ(state_.uiFill, 0U);
    }
}

TEST_F(AudioFrames, AWrongHeaderEndsTheSessionAndSaysWhy)
{
    const std::string no = " is not supported";
    const struct {
        AudioHeader header;
        std::string log, trace; ///< empty: as the log
    } cases[] = {
        {{.id = 0x000001F6}, "Wrong ulHdrID 0x000001f6", ""},
        {{.length = 0x80000028}, "Wrong ulHdrLength 0x80000028", ""},
        {{.format = 0}, "usFormat 0x0000" + no, ""},
        {{.format = 3}, "usFormat 0x0003" + no, ""},
        {{.format = 0x101}, "usFormat 0x0101" + no, ""},
        {{.sampleRate = 16000}, "usSampleRate 0x3e80" + no, "Sample rate number 0x3e80" + no},
        // The first of several counts, and an oversized frame after all of them.
        {{.length = 0, .format = 9, .channels = 9}, "Wrong ulHdrLength 0x00000000", ""},
        {{.channels = 9, .sampleRate = 9}, "usChannels 0x0009" + no, "Channel number 0x0009" + no},
        {{.dataLength = 10000, .sampleBits = 9}, "usSampleBits 0x0009" + no, "Sample bits 0x0009" + no},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.log);
        restart();
        const Said said = feedAndListen(audioFrame("before") + audioHeaderBytes(c.header));
        EXPECT_EQ(said.result, -1);
        EXPECT_EQ(said.trace, "\n[AudioUpstream_Play]" + (c.trace.empty() ? c.log : c.trace) + "\n");
        EXPECT_EQ(said.log, "[AudioUpstream_Play]" + c.log + "\n");
        EXPECT_EQ(decoder_.messages(), (Messages{DECODER_CONFIG, decoderFrame("before")})) << "played before it";
    }
}

TEST_F(AudioFrames, OutlivesADecoderThatBlocksOrGoes)
{
    const Action blocks = [this] { decoder_.block(); }, unblocks = [this] { decoder_.unblock(); };
    const Action goes = [this] { decoder_.vanish(); }, starts = [this] { decoder_.start(); };
    const Action restarts = [=] { goes(), starts(); }, startsBlocked = [=] { starts(), blocks(); };
    const std::string open = "[AudioUpstream_OpenAdecUnixSocket]", again = open + "Try again\n";
    const std::string failed = open + "AudioUpstream_OpenUnixSocket failed\n";
    const std::string noConfig = "[AudioUpstream_Play]WOULDBLOCK when write ConfG711, skip this frame\n";
    const std::string noFrame = "[AudioUpstream_Play]EWOULDBLOCK  when write AudioFrame, skip this frame\n";
    const struct {
        const char *description;
        bool announced; ///< a frame of the same format has been played before
        Action fault, recovery;
        size_t actsAt;     ///< the sleep during which it recovers
        Messages expected; ///< of two frames; "ends" for the end of the session
        size_t sleeps;
        std::string trace;
        bool opens; ///< a new socket
    } cases[] = {
        {"the format is announced later", false, blocks, {}, 0, {}, 10, noConfig + noConfig, false},
        {"frames are lost", true, blocks, {}, 0, {}, 10, noFrame + noFrame, false},
        {"the fifth try", false, blocks, unblocks, 4, {decoderFrame("1"), decoderFrame("2")}, 4, "", false},
        {"back for it", true, goes, starts, 4, {decoderFrame("1"), decoderFrame("2")}, 4, times(4, again), true},
        {"restarted", true, restarts, {}, 0, {decoderFrame("1"), decoderFrame("2")}, 0, "", true},
        {"it stays away", true, goes, {}, 0, {"ends"}, 5, times(5, again) + failed, false},
        {"back and blocked: one more write", true, goes, startsBlocked, 1, {"ends"}, 1, again, true},
    };
    const size_t descriptors = countDescriptors();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        ASSERT_EQ(c.announced ? feed(audioFrame("before")) : 0, 0);
        decoder_.messages();
        s_sleeps.clear();
        s_actsAt = c.actsAt;
        s_onSleep = c.recovery;
        c.fault();
        const bool ends = c.expected == Messages{"ends"};
        const Said said = feedAndListen(audioFrame("1") + audioFrame("2"));
        EXPECT_EQ(said.result, ends ? -1 : 0);
        EXPECT_EQ(state_.iDecoderSocket < 0, ends && !c.opens);
        const std::string opened = open + "sckAdec = " + std::to_string(state_.iDecoderSocket) + "\n";
        EXPECT_EQ(said.trace, c.trace + (c.opens ? opened : ""));
        EXPECT_EQ(s_sleeps, std::vector<uint32_t>(c.sleeps, 100));
        if (ends) {
            restarts();
        } else {
            if (c.expected.empty())
                unblocks();
            Messages expected = c.announced ? Messages{} : Messages{DECODER_CONFIG};
            expected.insert(expected.end(), c.expected.begin(), c.expected.end());
            expected.push_back(decoderFrame("later"));
            EXPECT_EQ(feed(audioFrame("later")), 0);
            EXPECT_EQ(decoder_.messages(), expected);
        }
        restart();
        EXPECT_EQ(countDescriptors(), descriptors);
    }
}
