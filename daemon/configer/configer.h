#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

/*
 * Client of the configuration store, a name/value database behind a Unix-domain stream socket. Each call has a
 * connection of its own, writes once and reads once, and blocks until the store answers. All functions return 0 or
 * -1.
 */

/**
 * Reads the keys, each written with its trailing "&", into `reply`, which is terminated whatever happens. A request
 * longer than 1023 characters and a reply longer than the buffer are cut. A failure leaves errno, ENODATA when the
 * store closed the connection without an answer.
 */
[[nodiscard]] int Get_Configer_Parameter(std::span<char> reply, std::initializer_list<std::string_view> keys);

/** The longest text of pairs that is written whole: a request of 2047 characters without its first line. */
inline constexpr size_t MAX_SET_PAIRS = 2026;

/**
 * Writes key=value pairs joined by "&"; more than MAX_SET_PAIRS characters are cut. `reply` gets what the store
 * answered.
 */
[[nodiscard]] int Set_Configer_Parameter(std::span<char> reply, std::string_view pairs);

/** Start_Fail for a key that the start needs; `iErrno` is that of asking for it, 0 when the reply has no usable
 * value. */
int Configer_StartFail(std::string_view key, int iErrno);

/* Single values of a reply; `key` is given with its "=". A value ends at the line feed. */

/** A decimal number of at most 7 characters. */
[[nodiscard]] int Get_Configer_INT_Value(std::string_view reply, std::string_view key, int32_t &iValue);
/** A text that fits `out` with its terminator. */
[[nodiscard]] int Get_Configer_STRING_Value(std::string_view reply, std::string_view key, std::span<char> out);
/** 1 when the character behind the key is "1", else 0; fails only without the key. */
[[nodiscard]] int Get_Configer_BOOL_Value(std::string_view reply, std::string_view key, int32_t &iValue);
