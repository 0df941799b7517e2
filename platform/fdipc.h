#pragma once

#include <span>
#include <string_view>

/*
 * Socket hand-back: the daemon passes a client's socket to the web server, which then serves it. The web server's
 * end is an AF_UNIX datagram socket; one datagram carries the joined text pieces and one descriptor.
 */

/** Returns a datagram socket connected to the fixed path `pcPath` of the camera, or -1. */
[[nodiscard]] int fdipc_client_socket(const char *pcPath);

/**
 * Sends the pieces (at most 8), joined, with `iPassed`, which stays the caller's. When the web server has bound its
 * path anew, connects the same descriptor to `pcPath` again, once, and resends. Never waits for a web server that
 * does not take what it is sent. Returns the number of bytes, or -1.
 */
[[nodiscard]] long fdipc_send(int iSocket, const char *pcPath, std::span<const std::string_view> pieces,
                              int iPassed);

/* The web server's end. */

/** Returns a datagram socket bound to `pcPath` (taken as it stands; a stale file there is replaced), or -1. */
[[nodiscard]] int fdipc_server_socket(const char *pcPath);

/** Receives one hand-back. Returns the text's length with the descriptor, now the caller's, or -1. */
[[nodiscard]] long fdipc_receive(int iSocket, std::span<char> out, int *piPassed);
