#include "camera/base/number.h"
#include "camera/base/readable.h"
#include "camera/base/root_folder.h"
#include "camera/neighbours/streams/stream_channel.h"
#include "camera/neighbours/streams/stream_profile.h"
#include "camera/surroundings/neighbours.h"
#include "platform/fdipc.h"

#include <cerrno>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

/*
 * What the camera sees: the MJPEG server push for the clients that the daemon hands back, and single pictures:
 *
 *   GET /camera/snapshot        GET /camera/snapshot?profile=2
 */

namespace camera
{

namespace
{

/** More clients than that are refused: each costs a descriptor and up to two pictures. */
constexpr size_t MAX_WATCHERS = 100;
/** A hand-back is at most four texts of 512 bytes. */
constexpr size_t MAX_HAND_BACK = 2048;

FileDescriptor bindHandBack(const std::string &path)
{
    FileDescriptor socket(fdipc_server_socket(path.c_str()));
    if (!socket.valid())
        throw std::system_error(errno, std::generic_category(), path);
    return socket;
}

class Streams : public Neighbour
{
  public:
    Streams(Surroundings &around, PictureSource &pictures)
        : around_(around), pictures_(pictures), socketPath_(around.root.path(HAND_BACK_SOCKET)),
          handBack_(around.io, bindHandBack(socketPath_), [this](int handBack) { takeHandBack(handBack); })
    {
        const auto refresh = [this](const Setting &) {
            for (auto &[profile, channel] : channels_)
                channel.refresh();
        };
        for (const char *const prefix : {"videoin_c0_", "image_c0_"})
            settings_.push_back(around.store.watchPrefix(prefix, refresh));
        settings_.push_back(around.store.watch("layout_title_text", refresh));
        powerOff_ = around.powerOff.connect([this] {
            for (auto &[profile, channel] : channels_)
                channel.endAll();
        });
        around.router.addLater("GET", "/camera/snapshot", [this](const OwnRequest &request, Router::Reply reply) {
            sendSnapshot(request.parameter("profile"), std::move(reply));
        });
        around.state.add("streams", [this] { return state(); });
    }

    ~Streams() override { unlink(socketPath_.c_str()); }

  private:
    void takeHandBack(int handBack)
    {
        char text[MAX_HAND_BACK];
        int passed = -1;
        const long length = fdipc_receive(handBack, text, &passed);
        if (length < 0)
            return;
        FileDescriptor client(passed);
        const std::optional<int> asked = parseHandBack({text, static_cast<size_t>(length)});
        const int profile = asked && *asked == 0 ? firstMotionJpegProfile(around_.store) : asked.value_or(0);
        if (profile == 0 || !readProfile(around_.store, profile) || !isStreamSocket(client.get()))
            return;
        if (clientCount() == MAX_WATCHERS) {
            const std::string refusal = serialise(plainResponse(503));
            [[maybe_unused]] const ssize_t sent =
                send(client.get(), refusal.data(), refusal.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            return;
        }
        channels_.try_emplace(profile, around_, pictures_, profile).first->second.add(std::move(client));
    }

    static bool isStreamSocket(int descriptor)
    {
        int type = 0;
        socklen_t size = sizeof type;
        return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
    }

    size_t clientCount()
    {
        size_t count = 0;
        for (auto &[profile, channel] : channels_)
            count += channel.clients();
        return count;
    }

    void sendSnapshot(const std::string &asked, Router::Reply reply)
    {
        const int profile =
            asked.empty() ? std::max(1, firstMotionJpegProfile(around_.store)) : parseNumber(asked).value_or(0);
        if (!asked.empty() && !readProfile(around_.store, profile))
            return reply(errorResponse(404, "there is no profile " + asked + ", only 1 to " +
                                                std::to_string(countProfiles(around_.store))));
        const bool taken = pictures_.takePicture(profile, [reply](const JpegPicture &picture) {
            if (picture)
                reply({.contentType = "image/jpeg", .body = *picture, .headers = {{"Cache-Control", "no-store"}}});
            else
                reply(errorResponse(500, "the picture could not be made"));
        });
        if (!taken)
            reply(errorResponse(503, "too many pictures are being taken"));
    }

    nlohmann::json state()
    {
        nlohmann::json profiles = nlohmann::json::array();
        std::uint64_t sent = 0;
        for (int profile = 1; profile <= countProfiles(around_.store); ++profile) {
            StreamChannel &channel = channels_.try_emplace(profile, around_, pictures_, profile).first->second;
            profiles.push_back(channel.state());
            sent += channel.framesSent();
        }
        return {{"clients", clientCount()}, {"frames_sent", sent}, {"profiles", std::move(profiles)}};
    }

    Surroundings &around_;
    PictureSource &pictures_;
    std::string socketPath_;
    std::map<int, StreamChannel> channels_;
    std::vector<Subscription> settings_;
    Subscription powerOff_;
    Readable handBack_;
};

} // namespace

std::unique_ptr<Neighbour> makeStreams(Surroundings &around, PictureSource &pictures)
{
    return std::make_unique<Streams>(around, pictures);
}

} // namespace camera
