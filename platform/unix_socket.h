#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/*
 * The few things that every local channel of the camera needs. Each descriptor made here is close-on-exec. Paths
 * are taken as they stand (see Path_Resolve) and may fill sun_path to its last byte, as unix(7) allows.
 */

/** Opens an AF_UNIX socket of `iType` (SOCK_STREAM or SOCK_DGRAM). Returns the descriptor, or -1. */
[[nodiscard]] int UnixSocket_Open(int iType);

/** Connects the socket to a path. Returns 0, or -1 with errno (ENAMETOOLONG for a path that does not fit, ENOENT
 * for an empty one). */
[[nodiscard]] int UnixSocket_Connect(int iSocket, const char *pcPath);

/** Binds the socket to a path that does not exist yet, with mode 0660. Returns 0, or -1 with errno. */
[[nodiscard]] int UnixSocket_Bind(int iSocket, const char *pcPath);

/** Opens a socket and connects it to a path. Returns the descriptor, or -1 with errno and nothing open. */
[[nodiscard]] int UnixSocket_OpenConnected(int iType, const char *pcPath);

/** UnixSocket_OpenConnected to a fixed path of the camera. */
[[nodiscard]] int UnixSocket_OpenFixed(int iType, const char *pcFixedPath);

/**
 * Sends the pieces, joined, as one datagram, with `iPassed` in SCM_RIGHTS unless it is -1; `iFlags` as for send(2).
 * At most 8 pieces. Returns the number of bytes, or -1 with errno. `iPassed` stays the caller's.
 */
[[nodiscard]] long UnixSocket_SendPieces(int iSocket, std::span<const std::string_view> pieces, int iPassed,
                                         int iFlags);

/**
 * Receives one datagram and the one descriptor that must come with it (close-on-exec, the caller's from then on).
 * Returns the number of bytes; or -1, with every received descriptor closed, when the call failed, data or control
 * data were cut, or there was not exactly one descriptor.
 */
[[nodiscard]] long UnixSocket_ReceiveWithDescriptor(int iSocket, std::span<char> out, int &iPassed);
