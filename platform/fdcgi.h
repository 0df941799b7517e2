#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/*
 * Request hand-over: the web server sends one datagram per HTTP request to a bound AF_UNIX socket, with the
 * client's socket in SCM_RIGHTS. The payload is an SCGI request (SCGI's netstring of name/value pairs),
 * followed by the body bytes that the web server has already read.
 */

/** The largest datagram that is one request. */
inline constexpr size_t FDCGI_MAX_DATAGRAM = 16384;

struct FDCGI;
using FDCGI_Handle = FDCGI *;

/**
 * Creates an endpoint bound to `pcPath` (taken as it stands, mode 0660). Returns 0 with the handle, which
 * FDCGI_close releases, or -1 with errno.
 */
[[nodiscard]] int FDCGI_init(FDCGI_Handle *pHandle, const char *pcPath);
[[nodiscard]] int FDCGI_SetNonBlocking(FDCGI_Handle handle);
/** The endpoint's descriptor; it stays the handle's. */
[[nodiscard]] int FDCGI_GetSocketFd(FDCGI_Handle handle);
void FDCGI_close(FDCGI_Handle handle);

/**
 * Takes one request with its one descriptor (close-on-exec, the caller's from then on). Returns 0; or -1, with
 * nothing left open, on a malformed payload, a cut datagram or control data, no descriptor or more than one.
 */
[[nodiscard]] int FDCGI_read(FDCGI_Handle handle, int *piClientSocket);

/*
 * Values of the request that FDCGI_read took last, valid until the next one. The texts belong to the handle and may
 * be changed in place. Null when the request did not carry the value; the body is null when no body bytes came.
 */
[[nodiscard]] char *FDCGI_GetUrl(FDCGI_Handle handle);
[[nodiscard]] char *FDCGI_GetMethod(FDCGI_Handle handle);
[[nodiscard]] char *FDCGI_GetQueryString(FDCGI_Handle handle);
[[nodiscard]] char *FDCGI_GetContentLength(FDCGI_Handle handle);
[[nodiscard]] char *FDCGI_GetPostBody(FDCGI_Handle handle);
/** The number of body bytes that came with the request, whatever bytes they are. */
[[nodiscard]] size_t FDCGI_GetPostBodyLength(FDCGI_Handle handle);

/* The sending end. */

struct FDCGI_Request {
    std::string_view method;
    std::string_view url;
    std::string_view query;
    std::string_view contentLength = "0";
    std::string_view body;
};

/** Writes the payload of a request; returns its length, or 0 when it does not fit or a value holds a NUL byte. */
[[nodiscard]] size_t FDCGI_compose(const FDCGI_Request &request, std::span<char> out);

/** Returns a datagram socket connected to the endpoint at `pcPath`, or -1. */
[[nodiscard]] int FDCGI_client_socket(const char *pcPath);

/**
 * Sends a request with the client's socket, which stays the caller's; `iFlags` as for send(2), MSG_DONTWAIT to get
 * EAGAIN from a full queue. Returns 0, or -1 with errno.
 */
[[nodiscard]] int FDCGI_send(int iSocket, const FDCGI_Request &request, int iClientSocket, int iFlags);
