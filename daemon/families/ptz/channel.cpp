#include "daemon/families/ptz/channel.h"

#include "daemon/base/text_builder.h"
#include "daemon/base/wait.h"
#include "daemon/configer/reply.h"
#include "platform/log.h"

#include <unistd.h>

namespace
{

constexpr char PTZ_PATH[] = "/tmp/ptzctrl";
/** A daemon that does not even take connections any more must not hold everybody else up for longer. */
constexpr uint32_t CONNECT_LIMIT_MS = 1000;

int WriteCommand(const char *pcCaller, int iSocket, std::string_view command)
{
    int32_t iCameraId = 0;
    ConfigerReply<32> reply(pcCaller);
    reply.ReadInt("camctrl_c0_cameraid", iCameraId);
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
    const int iSocket = Wait_Connect(PTZ_PATH, Wait_Limit(CONNECT_LIMIT_MS));
    if (iSocket < 0)
        return -1;
    const int iResult = WriteCommand(__func__, iSocket, command);
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
