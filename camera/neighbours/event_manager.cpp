#include "camera/base/file_descriptor.h"
#include "camera/base/root_folder.h"
#include "camera/surroundings/neighbours.h"
#include "platform/fdcgi.h"
#include "platform/message.h"

#include <boost/asio/steady_timer.hpp>
#include <cerrno>
#include <deque>
#include <map>
#include <sys/socket.h>

/*
 * The event manager: tells the daemon of every event of the camera. A daemon that has just started knows nothing:
 * it is told what is active.
 */

namespace camera
{

namespace asio = boost::asio;

namespace
{

/** The daemon takes one message per round of its loop; that many may wait for it. */
constexpr size_t MAX_WAITING_EVENTS = 1024;
constexpr std::chrono::milliseconds SEND_RETRY_TIME(5);

class EventManager : public Neighbour
{
  public:
    explicit EventManager(Surroundings &around)
        : socketPath_(around.root.path(EVENT_SOCKET)), retry_(around.io),
          events_(around.events.connect([this](const CameraEvent &event) {
              active_[{event.source, event.number}] = event.active;
              post(event);
          })),
          daemonReady_(around.daemonReady.connect([this] { repeatActive(); }))
    {
    }

  private:
    void post(const CameraEvent &event)
    {
        if (waiting_.size() == MAX_WAITING_EVENTS)
            waiting_.pop_front();
        waiting_.push_back(event);
        sendWaiting();
    }

    void repeatActive()
    {
        for (const auto &[place, active] : active_)
            if (active)
                post({place.first, place.second, true});
    }

    void sendWaiting()
    {
        while (!waiting_.empty()) {
            if (!send(waiting_.front())) {
                retry_.expires_after(SEND_RETRY_TIME);
                return retry_.async_wait([this](const boost::system::error_code &error) {
                    if (!error)
                        sendWaiting();
                });
            }
            waiting_.pop_front();
        }
    }

    /** Sends one event; false when the daemon's queue is full. Without a daemon there is nobody to tell. */
    bool send(const CameraEvent &event)
    {
        const EventRecord record = {.iIndex = event.number,
                                    .iChannel = 0,
                                    .iType = event.source == CameraEvent::Source::Input ? EVENT_TYPE_INPUT
                                                                                        : EVENT_TYPE_MOTION,
                                    .iState = event.active ? EVENT_STATE_ACTIVE : EVENT_STATE_INACTIVE,
                                    .iTime = static_cast<int32_t>(time(nullptr))};
        char message[512];
        const size_t length = Message_ComposeEvents({&record, 1}, message);
        const FileDescriptor socket(FDCGI_client_socket(socketPath_.c_str()));
        if (length == 0 || !socket.valid())
            return true;
        return ::send(socket.get(), message, length, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0 || errno != EAGAIN;
    }

    std::string socketPath_;
    asio::steady_timer retry_;
    std::map<std::pair<CameraEvent::Source, int>, bool> active_;
    std::deque<CameraEvent> waiting_;
    Subscription events_;
    Subscription daemonReady_;
};

} // namespace

std::unique_ptr<Neighbour> makeEventManager(Surroundings &around)
{
    return std::make_unique<EventManager>(around);
}

} // namespace camera
