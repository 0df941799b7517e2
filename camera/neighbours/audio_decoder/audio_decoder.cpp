#include "camera/base/bounded_folder.h"
#include "camera/base/number.h"
#include "camera/base/readable.h"
#include "camera/base/root_folder.h"
#include "camera/neighbours/audio_decoder/audio_message.h"
#include "camera/neighbours/audio_decoder/wav_writer.h"
#include "camera/surroundings/neighbours.h"
#include "platform/unix_socket.h"

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sys/socket.h>
#include <system_error>
#include <vector>

/*
 * The audio decoder: what is said through the camera's speaker goes into WAV files, one per talk, in the folder
 * "talk" below the root folder. A talk ends when nothing comes for a while, or when a configuration announces the
 * next one.
 */

namespace camera
{

namespace asio = boost::asio;
namespace fs = std::filesystem;

namespace
{

constexpr unsigned SAMPLES_PER_SECOND = 8000;
constexpr std::chrono::seconds TALK_PAUSE(2);
/** These two bound the disk: a longer talk goes on in the next file, and the oldest files go. */
constexpr std::uint32_t MAX_SAMPLES = 10 * 60 * SAMPLES_PER_SECOND;
constexpr std::string_view NAME_BEGIN = "talk-";
constexpr FolderLimit LIMIT = {.bytes = UINT64_MAX, .files = 20, .removeOldest = true, .prefix = NAME_BEGIN};

constexpr std::string_view TALK_FOLDER = "/talk";
constexpr std::string_view NAME_END = ".wav";

struct TalkFile {
    int number;
    std::string name;
};

/** The files of former talks, the oldest first. */
class TalkFiles
{
  public:
    explicit TalkFiles(std::string folder) : folder_(std::move(folder))
    {
        fs::create_directories(folder_);
        look();
    }

    /** Names the file of the next talk and makes room for it; returns its path. Throws as makeRoom() does. */
    std::string next()
    {
        makeRoom(folder_, LIMIT, 0);
        look();
        std::string digits = std::to_string(++last_);
        digits.insert(0, digits.size() < 4 ? 4 - digits.size() : 0, '0');
        files_.push_back({last_, std::string(NAME_BEGIN) + digits + std::string(NAME_END)});
        return folder_ + "/" + files_.back().name;
    }

    [[nodiscard]] const std::vector<TalkFile> &all() const { return files_; }

  private:
    void look()
    {
        files_.clear();
        for (const fs::directory_entry &entry : fs::directory_iterator(folder_))
            if (const std::optional<int> number = numberOf(entry.path().filename().string()))
                files_.push_back({*number, entry.path().filename().string()});
        std::ranges::sort(files_, {}, &TalkFile::number);
        if (!files_.empty())
            last_ = std::max(last_, files_.back().number);
    }

    static std::optional<int> numberOf(std::string_view name)
    {
        if (!name.starts_with(NAME_BEGIN) || !name.ends_with(NAME_END))
            return std::nullopt;
        name.remove_prefix(NAME_BEGIN.size());
        name.remove_suffix(NAME_END.size());
        constexpr int HIGHEST = 1'000'000'000;
        const std::optional<int> number = parseNumber(name);
        return number && *number >= 1 && *number <= HIGHEST ? number : std::nullopt;
    }

    std::string folder_;
    std::vector<TalkFile> files_;
    int last_ = 0; ///< number
};

FileDescriptor bindDecoder(const std::string &path)
{
    FileDescriptor socket(UnixSocket_Open(SOCK_DGRAM));
    if (!socket.valid() || UnixSocket_Bind(socket.get(), path.c_str()) != 0)
        throw std::system_error(errno, std::generic_category(), path);
    return socket;
}

class AudioDecoder : public Neighbour
{
  public:
    explicit AudioDecoder(Surroundings &around)
        : socketPath_(around.root.path(DECODER_SOCKET)), files_(around.root.path(TALK_FOLDER)), pause_(around.io),
          socket_(around.io, bindDecoder(socketPath_), [this](int socket) { receiveWaiting(socket); })
    {
        powerOff_ = around.powerOff.connect([this] {
            endTalk();
            configured_ = false;
        });
        around.state.add("talk", [this] { return state(); });
    }

    ~AudioDecoder() override { unlink(socketPath_.c_str()); }

  private:
    /** What is said right now. */
    struct Talk {
        WavWriter file;
        double level = 0;
    };

    void receiveWaiting(int socket)
    {
        // So that a sender who never stops does not keep the others waiting.
        constexpr int AT_ONCE = 64;
        char datagram[AUDIO_MAX_MESSAGE];
        for (int i = 0; i < AT_ONCE; ++i) {
            const ssize_t length = recv(socket, datagram, sizeof datagram, MSG_DONTWAIT | MSG_TRUNC);
            if (length < 0)
                return;
            take({datagram, std::min(static_cast<size_t>(length), sizeof datagram)},
                 length > ssize_t{sizeof datagram});
        }
    }

    void take(std::string_view datagram, bool cut)
    {
        const auto message = cut ? AudioMalformed{} : parseAudioMessage(datagram);
        if (std::holds_alternative<AudioConfiguration>(message)) {
            endTalk();
            configured_ = true;
        } else if (const auto *frame = std::get_if<AudioFrame>(&message); frame != nullptr && configured_) {
            ++frames_;
            play(frame->samples);
        } else {
            ++rejected_;
        }
    }

    void play(std::string_view samples)
    {
        if (samples.empty())
            return;
        try {
            if (talk_ && talk_->file.samples() + samples.size() > MAX_SAMPLES)
                endTalk();
            if (!talk_) {
                talk_.emplace(Talk{.file = WavWriter(files_.next(), SAMPLES_PER_SECOND)});
                ++talks_;
            }
            const std::vector<std::int16_t> decoded = decodeMuLaw(samples);
            talk_->file.append(decoded);
            talk_->level = levelOf(decoded);
        } catch (const std::exception &error) {
            std::cerr << "kelpa-camera: speaker: " << error.what() << "\n";
            endTalk();
        }
        pause_.expires_after(TALK_PAUSE);
        pause_.async_wait([this](const boost::system::error_code &error) {
            if (!error)
                endTalk();
        });
    }

    void endTalk()
    {
        if (talk_)
            last_ = describe(*talk_);
        talk_.reset();
    }

    [[nodiscard]] nlohmann::json describe(const Talk &talk) const
    {
        return {{"file", pathOf(files_.all().back())},
                {"seconds", talk.file.seconds()},
                {"level", std::round(talk.level * 10) / 10}};
    }

    static std::string pathOf(const TalkFile &file) { return std::string(TALK_FOLDER.substr(1)) + "/" + file.name; }

    [[nodiscard]] nlohmann::json state() const
    {
        nlohmann::json files = nlohmann::json::array();
        for (const TalkFile &file : files_.all())
            files.push_back(pathOf(file));
        return {{"talks", talks_},       {"frames", frames_},
                {"rejected", rejected_}, {"current", talk_ ? describe(*talk_) : nlohmann::json()},
                {"last", last_},         {"files", files}};
    }

    std::string socketPath_;
    TalkFiles files_;
    std::optional<Talk> talk_;
    nlohmann::json last_;     ///< what the talk before was, with the level of its end
    bool configured_ = false; ///< a decoder that was not told its codec plays nothing
    std::uint64_t talks_ = 0;
    std::uint64_t frames_ = 0;
    std::uint64_t rejected_ = 0;
    asio::steady_timer pause_;
    Readable socket_;
    Subscription powerOff_;
};

} // namespace

std::unique_ptr<Neighbour> makeAudioDecoder(Surroundings &around)
{
    return std::make_unique<AudioDecoder>(around);
}

} // namespace camera
