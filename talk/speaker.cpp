#include "talk/speaker.h"

#include "talk/sound.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <stdexcept>

namespace talk
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr size_t FRAME_HEADER_SIZE = 40;
/** More than anybody talks: 66 hours of frames. */
constexpr char STREAM_LENGTH[] = "2147483647";

template <class Number>
void putLittleEndian(std::string &bytes, size_t at, Number value)
{
    for (size_t i = 0; i < sizeof value; ++i)
        bytes[at + i] = static_cast<char>(static_cast<uint64_t>(value) >> 8 * i & 0xFF);
}

std::string encodeBase64(std::string_view bytes)
{
    constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - at);
        uint32_t group = 0;
        for (size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? static_cast<uint8_t>(bytes[at + i]) : 0U);
        for (size_t i = 0; i < 4; ++i)
            text += i <= count ? ALPHABET[group >> (18 - 6 * i) & 0x3F] : '=';
    }
    return text;
}

std::string requestHead(const Speaker &speaker, const std::string &method, const std::string &name)
{
    std::string head = method + " /dev/speaker.cgi?client=" + name +
                       " HTTP/1.1\r\nHost: " + toText(speaker.address) + "\r\nConnection: close\r\n";
    if (!speaker.credentials.empty())
        head += "Authorization: Basic " + encodeBase64(speaker.credentials) + "\r\n";
    return head;
}

/** What a reply that is not "200" means to the user. */
[[noreturn]] void throwRefusal(const std::string &reply)
{
    std::string folded = reply;
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::string status = reply.substr(0, reply.find_first_of("\r\n"));
    if (!status.starts_with("HTTP/1."))
        throw std::runtime_error(reply.empty() ? "the camera closed the connection without a reply"
                                               : "what answers does not speak HTTP");
    if (status.find(" 401") == std::string::npos)
        throw std::runtime_error("the camera refuses: " + status);
    if (folded.find("\r\nwww-authenticate:") != std::string::npos)
        throw std::runtime_error("the camera does not accept this name and password (give them with --user)");
    throw std::runtime_error("the camera refuses (401): its speaker is switched off");
}

[[noreturn]] void throwClosed(Connection &connection, size_t said)
{
    if (const std::string reply = connection.receiveAll(); !reply.empty())
        throwRefusal(reply);
    std::array<char, 160> text = {};
    snprintf(text.data(), text.size(),
             "the camera closed the connection after %.1f s: another client is talking, or the speaker was "
             "switched off",
             static_cast<double>(said) / SAMPLE_RATE);
    throw std::runtime_error(text.data());
}

std::string randomBytes(size_t count)
{
    std::random_device source;
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&source] { return static_cast<char>(source() & 0xFF); });
    return bytes;
}

} // namespace

std::string makeFrame(std::string_view audio)
{
    std::string frame(FRAME_HEADER_SIZE, '\0');
    putLittleEndian(frame, 0, uint32_t{0xF6010000});                // ulHdrID
    putLittleEndian(frame, 4, uint32_t{FRAME_HEADER_SIZE});         // ulHdrLength
    putLittleEndian(frame, 8, static_cast<uint32_t>(audio.size())); // ulDataLength
    putLittleEndian(frame, 28, uint16_t{1});                        // usFormat
    putLittleEndian(frame, 30, uint16_t{1});                        // usChannels
    putLittleEndian(frame, 32, static_cast<uint16_t>(SAMPLE_RATE)); // usSampleRate
    putLittleEndian(frame, 34, uint16_t{8});                        // usSampleBits
    return frame.append(audio);
}

void registerClient(const Speaker &speaker, const std::string &name)
{
    Connection connection(speaker.address);
    const bool sent = connection.send(requestHead(speaker, "GET", name) + "\r\n");
    const std::string reply = connection.receiveAll();
    if (!sent || !reply.starts_with("HTTP/1.1 200 "))
        throwRefusal(reply);
}

void talk(const Speaker &speaker, const std::string &name, std::string_view audio)
{
    Connection connection(speaker.address);
    const std::string head = requestHead(speaker, "POST", name) +
                             "Content-Type: application/octet-stream\r\nContent-Length: " + STREAM_LENGTH +
                             "\r\n\r\n";
    const Clock::time_point begin = Clock::now();
    const auto timeOf = [begin](size_t samples) {
        return begin + std::chrono::nanoseconds(samples * 1'000'000'000 / SAMPLE_RATE);
    };

    bool open = connection.send(head + randomBytes(4));
    for (size_t said = 0; said < audio.size(); said += FRAME_AUDIO_BYTES) {
        // The camera never sends anything on this connection: what comes before a frame's time is the end.
        open = open && !connection.waitForInput(timeOf(said)) &&
               connection.send(makeFrame(audio.substr(said, FRAME_AUDIO_BYTES)));
        if (!open)
            throwClosed(connection, said);
    }
    // The last frame is heard out; closing at once could cut it off.
    if (connection.waitForInput(timeOf(audio.size())))
        throwClosed(connection, audio.size());
    connection.endSending();
    if (const std::string reply = connection.receiveAll(); !reply.empty())
        throwRefusal(reply);
}

} // namespace talk
