#include "daemon/families/ptz/channel.h"

#include "daemon/base/text_builder.h"
#include "daemon/configer/reply.h"
#include "platform/log.h"
#include "platform/path.h"
#include "platform/unix_socket.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

constexpr char PTZ_PATH[] = "/tmp/ptzctrl";
/** A daemon that does not even take connections any more must not hold everybody else up for longer. */
constexpr timeval CONNECT_LIMIT = {1, 0};

int WriteCommand(const char *pcCaller, int iSocket, std::string_view command)
{
    int iOn = 1;
    ioctl(iSocket, FIONBIO, &iOn);
    int32_t iCameraId = 0;
    ConfigerReply<32> reply(pcCaller);
    reply.Get({"camctrl_c0_cameraid&"});
    reply.Int("camctrl_c0_cameraid=", iCameraId);
    if (reply.Failed())
        return -1;
    TextBuffer<2048> line;
    line.Addf("channel=0&camid=%d&", iCameraId);
    line.Add(command);
    Trace("acComposedData = %s\n", line.Text());
    return write(iSocket, line.Text(), line.Length()) > 0 ? 0 : -1;
}

} // namespace

int PTZCtrl_SendCommand(std::string_view command)
{
    char acPath[sizeof(sockaddr_un::sun_path) + 1];
    const int iSocket = Path_Resolve(PTZ_PATH, acPath) == 0 ? UnixSocket_Open(SOCK_STREAM) : -1;
    if (iSocket < 0)
        return -1;
    // unix(7): connecting waits while the listener's queue is full, and obeys the limit for sending.
    setsockopt(iSocket, SOL_SOCKET, SO_SNDTIMEO, &CONNECT_LIMIT, sizeof CONNECT_LIMIT);
    const int iResult = UnixSocket_Connect(iSocket, acPath) == 0 ? WriteCommand(__func__, iSocket, command) : -1;
    close(iSocket);
    return iResult;
}

int Session_SendCommand(SessionSlot &slot, std::string_view command)
{
    return PTZCtrl_SendCommand(command) == 0 ? Session_Succeed(slot)
                                             : Session_Fail(slot, StatusKind::InternalError);
}

// KEPT: only the beginning of an "act=" is looked at; clients send "delete", "gone" and "stopped" as well.
int PTZ_TakeAct(std::string_view act, std::span<const ActWord> words, std::span<char> command)
{
    for (const ActWord &word : words) {
        if (act.starts_with(word.prefix)) {
            Text_Copy(command, word.command);
            return 0;
        }
    }
    return -1;
}
