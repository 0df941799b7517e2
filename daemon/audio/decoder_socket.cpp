#include "daemon/audio/decoder_socket.h"

#include "daemon/audio/audio_waits.h"
#include "platform/log.h"
#include "platform/path.h"
#include "platform/unix_socket.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

constexpr char DECODER_PATH[] = "/var/run/aenc/s0/decodesck_0";
constexpr int MAX_ATTEMPTS = 5;
constexpr uint32_t ATTEMPT_SLEEP_MS = 100;

} // namespace

int AudioUpstream_OpenAdecUnixSocket()
{
    char acPath[sizeof(sockaddr_un::sun_path) + 1];
    if (Path_Resolve(DECODER_PATH, acPath) != 0)
        return -1;
    const int iSocket = UnixSocket_Open(SOCK_DGRAM | SOCK_NONBLOCK);
    if (iSocket < 0)
        return -1;
    for (int iAttempt = 0; iAttempt < MAX_ATTEMPTS; ++iAttempt) {
        if (UnixSocket_Connect(iSocket, acPath) == 0) {
            Trace("[%s]sckAdec = %d\n", __func__, iSocket);
            return iSocket;
        }
        Trace("[%s]Try again\n", __func__);
        g_tAudioUpstreamWaits.pfnSleepMs(ATTEMPT_SLEEP_MS);
    }
    close(iSocket);
    Trace("[%s]AudioUpstream_OpenUnixSocket failed\n", __func__);
    return -1;
}

DecoderWrite DecoderSocket_Write(int32_t &iDecoderSocket, std::span<const std::string_view> pieces)
{
    for (int iAttempt = 0; iAttempt < MAX_ATTEMPTS; ++iAttempt) {
        if (UnixSocket_SendPieces(iDecoderSocket, pieces, -1, 0) >= 0)
            return DecoderWrite::Sent;
        if (errno != EAGAIN) {
            close(iDecoderSocket);
            iDecoderSocket = AudioUpstream_OpenAdecUnixSocket();
            if (iDecoderSocket < 0 || UnixSocket_SendPieces(iDecoderSocket, pieces, -1, 0) < 0)
                return DecoderWrite::Lost;
            return DecoderWrite::Sent;
        }
        g_tAudioUpstreamWaits.pfnSleepMs(ATTEMPT_SLEEP_MS);
    }
    return DecoderWrite::Blocked;
}
