#include "platform/fdipc.h"

#include "platform/path.h"
#include "platform/unix_socket.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

int fdipc_client_socket(const char *pcPath)
{
    return UnixSocket_OpenFixed(SOCK_DGRAM, pcPath);
}

long fdipc_send(int iSocket, const char *pcPath, std::span<const std::string_view> pieces, int iPassed)
{
    const long sent = UnixSocket_SendPieces(iSocket, pieces, iPassed, MSG_DONTWAIT);
    // unix(7): the peer of a connected datagram socket that is gone shows as ECONNREFUSED, or ENOTCONN once the
    // kernel has dropped the connection for it.
    if (sent >= 0 || (errno != ECONNREFUSED && errno != ENOTCONN))
        return sent;
    char acPath[sizeof(sockaddr_un::sun_path) + 1];
    if (Path_Resolve(pcPath, acPath) != 0 || UnixSocket_Connect(iSocket, acPath) != 0)
        return -1;
    return UnixSocket_SendPieces(iSocket, pieces, iPassed, MSG_DONTWAIT);
}

int fdipc_server_socket(const char *pcPath)
{
    const int iSocket = UnixSocket_Open(SOCK_DGRAM);
    if (iSocket < 0)
        return -1;
    unlink(pcPath);
    if (UnixSocket_Bind(iSocket, pcPath) != 0) {
        const int iSavedErrno = errno;
        close(iSocket);
        errno = iSavedErrno;
        return -1;
    }
    return iSocket;
}

long fdipc_receive(int iSocket, std::span<char> out, int *piPassed)
{
    return UnixSocket_ReceiveWithDescriptor(iSocket, out, *piPassed);
}
