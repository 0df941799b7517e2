#include "platform/unix_socket.h"

#include "platform/path.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

/** Fills the address of a path; returns its length (path length + 2), or 0 with errno when the path does not fit.
 */
socklen_t MakeAddress(const char *pcPath, sockaddr_un &address)
{
    const size_t length = strlen(pcPath);
    if (length == 0 || length > sizeof address.sun_path) {
        errno = length == 0 ? ENOENT : ENAMETOOLONG;
        return 0;
    }
    address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, pcPath, length);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
}

/** Room for more descriptors than any sender should pass, so that a surplus is seen, closed and refused. */
constexpr size_t MAX_RECEIVED = 16;

union ControlBuffer {
    cmsghdr align;
    char acBytes[CMSG_SPACE(sizeof(int) * MAX_RECEIVED)];
};

} // namespace

int UnixSocket_Open(int iType)
{
    return socket(AF_UNIX, iType | SOCK_CLOEXEC, 0);
}

int UnixSocket_Connect(int iSocket, const char *pcPath)
{
    sockaddr_un address;
    const socklen_t length = MakeAddress(pcPath, address);
    return length == 0 ? -1 : connect(iSocket, reinterpret_cast<const sockaddr *>(&address), length);
}

int UnixSocket_Bind(int iSocket, const char *pcPath)
{
    sockaddr_un address;
    const socklen_t length = MakeAddress(pcPath, address);
    if (length == 0)
        return -1;
    // With the mask the file is never, not even for a moment, open to more than owner and group.
    const mode_t oldMask = umask(0117);
    const int iResult = bind(iSocket, reinterpret_cast<const sockaddr *>(&address), length);
    umask(oldMask);
    return iResult;
}

int UnixSocket_OpenConnected(int iType, const char *pcPath)
{
    const int iSocket = UnixSocket_Open(iType);
    if (iSocket < 0)
        return -1;
    if (UnixSocket_Connect(iSocket, pcPath) != 0) {
        const int iSavedErrno = errno;
        close(iSocket);
        errno = iSavedErrno;
        return -1;
    }
    return iSocket;
}

int UnixSocket_OpenFixed(int iType, const char *pcFixedPath)
{
    char acPath[sizeof(sockaddr_un::sun_path) + 1];
    return Path_Resolve(pcFixedPath, acPath) == 0 ? UnixSocket_OpenConnected(iType, acPath) : -1;
}

long UnixSocket_SendPieces(int iSocket, std::span<const std::string_view> pieces, int iPassed, int iFlags)
{
    iovec atPieces[8];
    if (pieces.size() > std::size(atPieces)) {
        errno = EMSGSIZE;
        return -1;
    }
    for (size_t i = 0; i < pieces.size(); ++i)
        atPieces[i] = {const_cast<char *>(pieces[i].data()), pieces[i].size()};

    msghdr message = {};
    message.msg_iov = atPieces;
    // C libraries differ in the type of this member.
    message.msg_iovlen = static_cast<decltype(message.msg_iovlen)>(pieces.size());
    ControlBuffer control = {};
    if (iPassed >= 0) {
        message.msg_control = control.acBytes;
        message.msg_controllen = CMSG_SPACE(sizeof iPassed);
        cmsghdr *ptHeader = CMSG_FIRSTHDR(&message);
        ptHeader->cmsg_level = SOL_SOCKET;
        ptHeader->cmsg_type = SCM_RIGHTS;
        ptHeader->cmsg_len = CMSG_LEN(sizeof iPassed);
        memcpy(CMSG_DATA(ptHeader), &iPassed, sizeof iPassed);
    }
    return sendmsg(iSocket, &message, iFlags | MSG_NOSIGNAL);
}

long UnixSocket_ReceiveWithDescriptor(int iSocket, std::span<char> out, int &iPassed)
{
    iovec tPiece = {out.data(), out.size()};
    ControlBuffer control;
    msghdr message = {};
    message.msg_iov = &tPiece;
    message.msg_iovlen = 1;
    message.msg_control = control.acBytes;
    message.msg_controllen = sizeof control.acBytes;
    const ssize_t received = recvmsg(iSocket, &message, MSG_CMSG_CLOEXEC);
    if (received < 0)
        return -1;

    int aiReceived[MAX_RECEIVED];
    size_t count = 0;
    for (cmsghdr *ptHeader = CMSG_FIRSTHDR(&message); ptHeader != nullptr;
         ptHeader = CMSG_NXTHDR(&message, ptHeader)) {
        if (ptHeader->cmsg_level != SOL_SOCKET || ptHeader->cmsg_type != SCM_RIGHTS)
            continue;
        const size_t held = std::min((ptHeader->cmsg_len - CMSG_LEN(0)) / sizeof(int), MAX_RECEIVED - count);
        memcpy(aiReceived + count, CMSG_DATA(ptHeader), held * sizeof(int));
        count += held;
    }
    if (count == 1 && (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0) {
        iPassed = aiReceived[0];
        return received;
    }
    for (size_t i = 0; i < count; ++i)
        close(aiReceived[i]);
    errno = EBADMSG;
    return -1;
}
