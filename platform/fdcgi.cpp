#include "platform/fdcgi.h"

#include "platform/unix_socket.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

struct FDCGI {
    int iSocket;
    char *pcContentLength;
    char *pcScgi;
    char *pcMethod;
    char *pcUrl;
    char *pcQueryString;
    char *pcPostBody;
    size_t postBodyLength;
    char acDatagram[FDCGI_MAX_DATAGRAM + 1]; // one more for the terminator of the body
};

namespace
{

struct KnownName {
    std::string_view name;
    char *FDCGI::*ppcValue;
};

constexpr KnownName KNOWN_NAMES[] = {
    {"CONTENT_LENGTH", &FDCGI::pcContentLength}, {"SCGI", &FDCGI::pcScgi},
    {"REQUEST_METHOD", &FDCGI::pcMethod},        {"SCRIPT_NAME", &FDCGI::pcUrl},
    {"QUERY_STRING", &FDCGI::pcQueryString},
};

bool IsDecimal(const char *pcText)
{
    return *pcText != '\0' && pcText[strspn(pcText, "0123456789")] == '\0';
}

/** Reads the "<length>:" in front of the pairs. Returns the pairs' length and their start, or -1. */
long TakeNetstringLength(char *pcText, size_t available, char *&pcPairs)
{
    long length = 0;
    size_t digits = 0;
    while (digits < available && pcText[digits] >= '0' && pcText[digits] <= '9') {
        if (digits > 0 && length == 0)
            return -1; // a netstring's length has no leading zero
        length = length * 10 + (pcText[digits++] - '0');
        if (static_cast<size_t>(length) > available)
            return -1;
    }
    if (digits == 0 || digits == available || pcText[digits] != ':')
        return -1;
    pcPairs = pcText + digits + 1;
    return length;
}

/** Takes one NUL-terminated text that ends before `pcEnd`; null when there is none. */
char *TakeText(char *&pcAt, char *pcEnd)
{
    char *pcText = pcAt;
    auto *pcNul = static_cast<char *>(memchr(pcText, '\0', static_cast<size_t>(pcEnd - pcText)));
    if (pcNul == nullptr)
        return nullptr;
    pcAt = pcNul + 1;
    return pcText;
}

int ParseRequest(FDCGI &handle, size_t length)
{
    char *pcPairs = nullptr;
    const long pairsLength = TakeNetstringLength(handle.acDatagram, length, pcPairs);
    char *const pcDatagramEnd = handle.acDatagram + length;
    if (pairsLength < 0 || pairsLength >= pcDatagramEnd - pcPairs || pcPairs[pairsLength] != ',')
        return -1;

    char *const pcPairsEnd = pcPairs + pairsLength;
    for (char *pcAt = pcPairs; pcAt < pcPairsEnd;) {
        const bool first = pcAt == pcPairs;
        const char *pcName = TakeText(pcAt, pcPairsEnd);
        char *pcValue = pcName != nullptr ? TakeText(pcAt, pcPairsEnd) : nullptr;
        if (pcValue == nullptr || *pcName == '\0' || (first && strcmp(pcName, "CONTENT_LENGTH") != 0))
            return -1;
        const std::string_view name = pcName;
        for (const KnownName &known : KNOWN_NAMES) {
            if (name != known.name)
                continue;
            if (handle.*known.ppcValue != nullptr)
                return -1; // SCGI: "Duplicate names are not allowed"
            handle.*known.ppcValue = pcValue;
        }
    }
    if (handle.pcContentLength == nullptr || !IsDecimal(handle.pcContentLength) || handle.pcScgi == nullptr ||
        strcmp(handle.pcScgi, "1") != 0)
        return -1;

    char *pcBody = pcPairsEnd + 1;
    handle.postBodyLength = static_cast<size_t>(pcDatagramEnd - pcBody);
    handle.pcPostBody = handle.postBodyLength > 0 ? pcBody : nullptr;
    *pcDatagramEnd = '\0';
    return 0;
}

void Forget(FDCGI &handle)
{
    for (const KnownName &known : KNOWN_NAMES)
        handle.*known.ppcValue = nullptr;
    handle.pcPostBody = nullptr;
    handle.postBodyLength = 0;
}

} // namespace

int FDCGI_init(FDCGI_Handle *pHandle, const char *pcPath)
{
    // Not calloc, which would make memory of the whole datagram buffer resident; few requests fill a page of it.
    auto *ptHandle = static_cast<FDCGI *>(malloc(sizeof(FDCGI)));
    if (ptHandle == nullptr)
        return -1;
    Forget(*ptHandle);
    ptHandle->iSocket = UnixSocket_Open(SOCK_DGRAM);
    if (ptHandle->iSocket < 0 || UnixSocket_Bind(ptHandle->iSocket, pcPath) != 0) {
        const int iSavedErrno = errno;
        FDCGI_close(ptHandle);
        errno = iSavedErrno;
        return -1;
    }
    *pHandle = ptHandle;
    return 0;
}

int FDCGI_SetNonBlocking(FDCGI_Handle handle)
{
    const int iFlags = fcntl(handle->iSocket, F_GETFL);
    return iFlags < 0 ? -1 : fcntl(handle->iSocket, F_SETFL, iFlags | O_NONBLOCK);
}

int FDCGI_GetSocketFd(FDCGI_Handle handle)
{
    return handle->iSocket;
}

void FDCGI_close(FDCGI_Handle handle)
{
    if (handle->iSocket >= 0)
        close(handle->iSocket);
    free(handle);
}

int FDCGI_read(FDCGI_Handle handle, int *piClientSocket)
{
    Forget(*handle);
    int iPassed = -1;
    const long received = UnixSocket_ReceiveWithDescriptor(
        handle->iSocket, std::span(handle->acDatagram, FDCGI_MAX_DATAGRAM), iPassed);
    if (received < 0)
        return -1;
    if (ParseRequest(*handle, static_cast<size_t>(received)) != 0) {
        close(iPassed);
        return -1;
    }
    *piClientSocket = iPassed;
    return 0;
}

char *FDCGI_GetUrl(FDCGI_Handle handle)
{
    return handle->pcUrl;
}

char *FDCGI_GetMethod(FDCGI_Handle handle)
{
    return handle->pcMethod;
}

char *FDCGI_GetQueryString(FDCGI_Handle handle)
{
    return handle->pcQueryString;
}

char *FDCGI_GetContentLength(FDCGI_Handle handle)
{
    return handle->pcContentLength;
}

char *FDCGI_GetPostBody(FDCGI_Handle handle)
{
    return handle->pcPostBody;
}

size_t FDCGI_GetPostBodyLength(FDCGI_Handle handle)
{
    return handle->postBodyLength;
}

size_t FDCGI_compose(const FDCGI_Request &request, std::span<char> out)
{
    const std::string_view pairs[][2] = {{"CONTENT_LENGTH", request.contentLength},
                                         {"SCGI", "1"},
                                         {"REQUEST_METHOD", request.method},
                                         {"SCRIPT_NAME", request.url},
                                         {"QUERY_STRING", request.query}};
    size_t pairsLength = 0;
    for (const auto &pair : pairs) {
        if (pair[1].find('\0') != std::string_view::npos)
            return 0;
        pairsLength += pair[0].size() + 1 + pair[1].size() + 1;
    }
    char acLength[24];
    const int iDigits = snprintf(acLength, sizeof acLength, "%zu:", pairsLength);
    const size_t total = static_cast<size_t>(iDigits) + pairsLength + 1 + request.body.size();
    if (total > out.size())
        return 0;

    char *pcAt = out.data();
    const auto put = [&pcAt](std::string_view text) {
        if (!text.empty())
            memcpy(pcAt, text.data(), text.size());
        pcAt += text.size();
    };
    put({acLength, static_cast<size_t>(iDigits)});
    for (const auto &pair : pairs)
        for (const std::string_view text : pair) {
            put(text);
            *pcAt++ = '\0';
        }
    *pcAt++ = ',';
    put(request.body);
    return total;
}

int FDCGI_client_socket(const char *pcPath)
{
    return UnixSocket_OpenConnected(SOCK_DGRAM, pcPath);
}

int FDCGI_send(int iSocket, const FDCGI_Request &request, int iClientSocket, int iFlags)
{
    char acDatagram[FDCGI_MAX_DATAGRAM];
    const size_t length = FDCGI_compose(request, acDatagram);
    if (length == 0) {
        errno = EMSGSIZE;
        return -1;
    }
    const std::string_view payload(acDatagram, length);
    return UnixSocket_SendPieces(iSocket, {&payload, 1}, iClientSocket, iFlags) < 0 ? -1 : 0;
}
