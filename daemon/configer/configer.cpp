#include "daemon/configer/configer.h"

#include "daemon/base/start_fail.h"
#include "daemon/base/text_builder.h"
#include "daemon/base/text_finder.h"
#include "daemon/base/wait.h"
#include "platform/log.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr char CONFIGER_PATH[] = "/tmp/configer";
constexpr size_t MAX_GET_REQUEST = 1023;
constexpr std::string_view SET_LINE = "set NameValue 99 0 0\n";
constexpr size_t MAX_INT_VALUE = 7;
/** In fair mode. A session is closed after as long, so that no reply could go out any more. */
constexpr uint32_t FAIR_LIMIT_MS = 8000;

/** One request, one reply, one connection. */
int Exchange(std::string_view request, std::span<char> reply)
{
    const WaitLimit limit = Wait_NeighbourLimit(FAIR_LIMIT_MS);
    const int iSocket = Wait_Connect(CONFIGER_PATH, limit);
    if (iSocket < 0)
        return -1;
    Trace_Text({"acComposedData = ", request, "\n"});
    ssize_t received = -1;
    // MSG_NOSIGNAL: during start-up SIGPIPE is not ignored yet.
    if (send(iSocket, request.data(), request.size(), MSG_NOSIGNAL) > 0 && Wait_Ready(iSocket, POLLIN, limit))
        received = read(iSocket, reply.data(), reply.size() - 1);
    const int iSavedErrno = received == 0 ? ENODATA : errno;
    close(iSocket);
    errno = iSavedErrno;
    if (received <= 0)
        return -1;
    reply[static_cast<size_t>(received)] = '\0';
    return 0;
}

} // namespace

int Get_Configer_Parameter(std::span<char> reply, std::initializer_list<std::string_view> keys)
{
    reply[0] = '\0';
    TextBuffer<MAX_GET_REQUEST + 1> request;
    request.Add("get NameValue 99 0\n");
    for (const std::string_view key : keys)
        request.Add(key);
    return Exchange(request.View(), reply);
}

int Set_Configer_Parameter(std::span<char> reply, std::string_view pairs)
{
    reply[0] = '\0';
    TextBuffer<SET_LINE.size() + MAX_SET_PAIRS + 1> request;
    request.Add(SET_LINE);
    request.Add(pairs);
    return Exchange(request.View(), reply);
}

int Configer_StartFail(std::string_view key, int iErrno)
{
    TextBuffer<96> what;
    what.Add(iErrno != 0 ? "" : "no usable ");
    what.Add(key);
    what.Add(" from configuration store");
    return Start_FailFixed(what.Text(), CONFIGER_PATH, iErrno);
}

int Get_Configer_INT_Value(std::string_view reply, std::string_view key, int32_t &iValue)
{
    std::string_view value;
    if (Text_FindValue(reply, key, '\n', value) != 0 || value.size() > MAX_INT_VALUE)
        return -1;
    iValue = Text_ToInt(value);
    return 0;
}

int Get_Configer_STRING_Value(std::string_view reply, std::string_view key, std::span<char> out)
{
    std::string_view value;
    if (Text_FindValue(reply, key, '\n', value) != 0 || value.size() >= out.size())
        return -1;
    Text_Copy(out, value);
    return 0;
}

int Get_Configer_BOOL_Value(std::string_view reply, std::string_view key, int32_t &iValue)
{
    const size_t at = reply.find(key);
    if (at == std::string_view::npos)
        return -1;
    reply.remove_prefix(at + key.size());
    iValue = reply.starts_with('1') ? 1 : 0;
    return 0;
}
