#include "daemon/audio/audio_frames.h"

#include "daemon/audio/decoder_socket.h"
#include "platform/log.h"

#include <array>
#include <cstring>
#include <string_view>

namespace
{

constexpr uint32_t HEADER_ID = 0xF6010000;
constexpr uint16_t SAMPLE_RATE = 8000;
constexpr uint16_t SAMPLE_BITS = 8;

constexpr size_t MESSAGE_WORD = 4;
constexpr size_t CONFIG_SIZE = 64;
/** Of a message to the decoder: a number, two words of four characters, zeros. */
constexpr size_t MESSAGE_HEADER_SIZE = 44;

struct AudioFrameHeader {
    uint32_t ulHdrID;
    uint32_t ulHdrLength;
    uint32_t ulDataLength;
    uint16_t usFormat;
    uint16_t usChannels;
    uint16_t usSampleRate;
    uint16_t usSampleBits;
};

/** Byte by byte: a frame stands anywhere in the buffer, and not every processor reads words from anywhere. */
constexpr uint16_t ReadShort(const char *pc)
{
    return static_cast<uint16_t>(static_cast<uint8_t>(pc[0]) | static_cast<uint8_t>(pc[1]) << 8);
}

constexpr uint32_t ReadLong(const char *pc)
{
    return ReadShort(pc) | static_cast<uint32_t>(ReadShort(pc + 2)) << 16;
}

template <size_t N>
constexpr void WriteLong(std::array<char, N> &out, size_t at, uint32_t ulValue)
{
    for (size_t i = 0; i < MESSAGE_WORD; ++i)
        out[at + i] = static_cast<char>(ulValue >> 8 * i & 0xFF);
}

template <size_t N>
constexpr void WriteWord(std::array<char, N> &out, size_t at, const char (&acWord)[MESSAGE_WORD + 1])
{
    for (size_t i = 0; i < MESSAGE_WORD; ++i)
        out[at + i] = acWord[i];
}

/** Tells the decoder what comes; the two values of usFormat mean the same to it. */
constexpr std::array<char, CONFIG_SIZE> CONFIG_MESSAGE = [] {
    std::array<char, CONFIG_SIZE> message = {};
    WriteWord(message, 4, "CONF");
    WriteWord(message, 8, "G711");
    WriteWord(message, 44, "ULAW");
    for (const size_t at : {48U, 52U, 56U, 60U})
        WriteLong(message, at, 1);
    return message;
}();

AudioFrameHeader ReadHeader(const char *pcFrame)
{
    return {.ulHdrID = ReadLong(pcFrame),
            .ulHdrLength = ReadLong(pcFrame + 4),
            .ulDataLength = ReadLong(pcFrame + 8),
            .usFormat = ReadShort(pcFrame + 28),
            .usChannels = ReadShort(pcFrame + 30),
            .usSampleRate = ReadShort(pcFrame + 32),
            .usSampleBits = ReadShort(pcFrame + 34)};
}

int NotSupported(const char *pcCaller, const char *pcTraceName, const char *pcLogName, uint16_t usValue)
{
    Trace("\n[%s]%s 0x%04x is not supported\n", pcCaller, pcTraceName, usValue);
    Log_Crit("[%s]%s 0x%04x is not supported\n", pcCaller, pcLogName, usValue);
    return -1;
}

int CheckHeader(const char *pcCaller, const AudioFrameHeader &header)
{
    if (header.ulHdrID != HEADER_ID) {
        Trace("\n[%s]Wrong ulHdrID 0x%08x\n", pcCaller, header.ulHdrID);
        Log_Crit("[%s]Wrong ulHdrID 0x%08x\n", pcCaller, header.ulHdrID);
        return -1;
    }
    if (header.ulHdrLength != AUDIO_FRAME_HEADER_SIZE) {
        Trace("\n[%s]Wrong ulHdrLength 0x%08x\n", pcCaller, header.ulHdrLength);
        Log_Crit("[%s]Wrong ulHdrLength 0x%08x\n", pcCaller, header.ulHdrLength);
        return -1;
    }
    if (header.usFormat != 1 && header.usFormat != 2)
        return NotSupported(pcCaller, "usFormat", "usFormat", header.usFormat);
    if (header.usChannels != 1)
        return NotSupported(pcCaller, "Channel number", "usChannels", header.usChannels);
    if (header.usSampleRate != SAMPLE_RATE)
        return NotSupported(pcCaller, "Sample rate number", "usSampleRate", header.usSampleRate);
    if (header.usSampleBits != SAMPLE_BITS)
        return NotSupported(pcCaller, "Sample bits", "usSampleBits", header.usSampleBits);
    return 0;
}

uint32_t Unprocessed(const AudioUpstreamState &state)
{
    return state.uiFill - state.uiReadOffset;
}

/** Passes over a frame that is too large: what is here of it is dropped, the rest as it comes. */
void SkipFrame(const char *pcCaller, AudioUpstreamState &state, uint32_t ulDataLength)
{
    // Here of the frame are its header and perhaps more; ulDataLength + 40 itself could exceed 32 bits.
    state.uiSkip = ulDataLength - (Unprocessed(state) - AUDIO_FRAME_HEADER_SIZE);
    state.uiFill = 0;
    state.uiReadOffset = 0;
    Trace("\n[%s]Skip %u bytes\n", pcCaller, state.uiSkip);
    Log_Crit("[%s]ulDataLength 0x%08x is too large\n", pcCaller, ulDataLength);
}

/** Announces the format when it is new and sends one frame. Returns 0, also for a dropped frame, or -1. */
int PlayFrame(const char *pcCaller, AudioUpstreamState &state, uint16_t usFormat, std::string_view payload)
{
    if (usFormat != state.usLastFormat) {
        const std::string_view config[] = {{CONFIG_MESSAGE.data(), CONFIG_MESSAGE.size()}};
        const DecoderWrite outcome = DecoderSocket_Write(state.iDecoderSocket, config);
        if (outcome == DecoderWrite::Blocked)
            Trace("[%s]WOULDBLOCK when write ConfG711, skip this frame\n", pcCaller);
        if (outcome != DecoderWrite::Sent)
            return outcome == DecoderWrite::Blocked ? 0 : -1;
        state.usLastFormat = usFormat;
    }

    std::array<char, MESSAGE_HEADER_SIZE> acHeader = {};
    WriteLong(acHeader, 0, static_cast<uint32_t>(MESSAGE_HEADER_SIZE + payload.size()));
    WriteWord(acHeader, 4, "G711");
    const std::string_view message[] = {{acHeader.data(), acHeader.size()}, payload};
    const DecoderWrite outcome = DecoderSocket_Write(state.iDecoderSocket, message);
    if (outcome == DecoderWrite::Blocked)
        Trace("[%s]EWOULDBLOCK  when write AudioFrame, skip this frame\n", pcCaller);
    return outcome == DecoderWrite::Lost ? -1 : 0;
}

void MoveRestToStart(AudioUpstreamState &state)
{
    const uint32_t uiRest = Unprocessed(state);
    memmove(state.acBuf, state.acBuf + state.uiReadOffset, uiRest);
    state.uiFill = uiRest;
    state.uiReadOffset = 0;
}

} // namespace

void AudioUpstream_SkipData(AudioUpstreamState &state)
{
    const uint32_t uiAvailable = Unprocessed(state);
    if (state.uiSkip < uiAvailable) {
        state.uiReadOffset += state.uiSkip;
        state.uiSkip = 0;
    } else {
        state.uiFill = 0;
        state.uiReadOffset = 0;
        state.uiSkip -= uiAvailable;
    }
    if (state.uiSkip == 0)
        Trace("\n[%s]Skip data done\n", __func__);
}

int AudioUpstream_Play(AudioUpstreamState &state)
{
    while (Unprocessed(state) >= AUDIO_FRAME_HEADER_SIZE) {
        const char *pcFrame = state.acBuf + state.uiReadOffset;
        const AudioFrameHeader header = ReadHeader(pcFrame);
        if (CheckHeader(__func__, header) != 0)
            return -1;
        if (header.ulDataLength > AUDIO_MAX_FRAME_SIZE - AUDIO_FRAME_HEADER_SIZE) {
            SkipFrame(__func__, state, header.ulDataLength);
            return 0;
        }
        const uint32_t uiFrameSize = AUDIO_FRAME_HEADER_SIZE + header.ulDataLength;
        if (Unprocessed(state) < uiFrameSize)
            break;
        const std::string_view payload(pcFrame + AUDIO_FRAME_HEADER_SIZE, header.ulDataLength);
        if (PlayFrame(__func__, state, header.usFormat, payload) != 0)
            return -1;
        state.uiReadOffset += uiFrameSize;
    }
    MoveRestToStart(state);
    return 0;
}
