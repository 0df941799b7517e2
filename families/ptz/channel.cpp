#include "families/ptz/channel.h"

#include "configer/reply.h"
#include "platform/log.h"
#include "platform/unix_socket.h"
#include "text/builder.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr char PTZ_PATH[] = "/tmp/ptzctrl";

int WriteCommand(int iSocket, std::string_view command)
{
    int iOn = 1;
    ioctl(iSocket, FIONBIO, &iOn);
    int32_t iCameraId = 0;
    ConfigerReply<32> reply("PTZCtrl_SendCommand");
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
    const int iSocket = UnixSocket_OpenFixed(SOCK_STREAM, PTZ_PATH);
    if (iSocket < 0)
        return -1;
    const int iResult = WriteCommand(iSocket, command);
    close(iSocket);
    return iResult;
}

int Session_SendCommand(SessionSlot &slot, std::string_view command)
{
    return PTZCtrl_SendCommand(command) == 0 ? Session_Succeed(slot)
                                             : Session_Fail(slot, StatusKind::InternalError);
}
