// A datagram at the hand-over socket, and what intake makes of it. Input: the payload.

#include "fuzz/environment.h"
#include "platform/fdcgi.h"
#include "platform/unix_socket.h"

#include <memory>
#include <sys/socket.h>

namespace
{

/** A bound endpoint and the web server's end. */
struct Endpoint {
    Endpoint()
    {
        const std::string path = FuzzEnvironment::get().root.path("/tmp/fuzz.sock");
        require(FDCGI_init(&handle, path.c_str()) == 0 && FDCGI_SetNonBlocking(handle) == 0);
        webServer.reset(FDCGI_client_socket(path.c_str()));
    }
    ~Endpoint() { FDCGI_close(handle); }
    FDCGI_Handle handle = nullptr;
    FileDescriptor webServer;
    FileDescriptor client{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const Endpoint endpoint;
    const std::string_view payload(reinterpret_cast<const char *>(data), std::min(size, FDCGI_MAX_DATAGRAM + 1));
    require(UnixSocket_SendPieces(endpoint.webServer.get(), {&payload, 1}, endpoint.client.get(), 0) >= 0);
    int passed = -1;
    const int result = FDCGI_read(endpoint.handle, &passed);
    require((result == 0) == (passed >= 0));
    if (result != 0)
        return 0;
    const FileDescriptor owned(passed);

    const auto slot = std::make_unique<SessionSlot>();
    KelpaFdServer_Accept_FDIPC(endpoint.handle, *slot);
    const FDIPCInfo &request = slot->tRequest;
    require(terminated(request.acUrl) && terminated(request.acQeryString) && terminated(request.acPostBody));
    require(request.iContentLength >= 0 && slot->iBufferLength >= -1);
    require(slot->eState == SessionState::Receive || slot->eState == SessionState::Parse);
    return 0;
}
