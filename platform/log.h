#pragma once

#include <initializer_list>
#include <string_view>

/** The environment variable that switches the debug facility on: its value is the level (see Debug_Init). */
inline constexpr char LOG_DEBUG_VARIABLE[] = "KELPA_DEBUG";

/** Opens the system log with the daemon's identity, and the debug facility when KELPA_DEBUG asks for it. */
void Log_Open();

/** Writes one message to the system log at LOG_CRIT, the daemon's only priority. `errno` is kept. */
void Log_Crit(const char *pcFormat, ...) __attribute__((format(printf, 1, 2)));

/** Log_Crit, but on standard error whatever the debug level: for who starts the daemon and has to know. */
void Log_CritAndShow(const char *pcFormat, ...) __attribute__((format(printf, 1, 2)));

/**
 * Sets the debug level and prints it. From level 2 (LOG_CRIT) on, every log message also goes to standard error,
 * which is how a developer without a system log reads them.
 */
void Debug_Init(int iLevel);
void Debug_ChangeLevel(int iLevel);

/**
 * Looks where standard output goes, once it is settled: to the null device, as in daemon mode, nobody can read a
 * trace, and none is formatted from then on.
 */
void Trace_Open();
/** True while traces wait in the buffer of standard output; Trace_Flush writes them. */
[[nodiscard]] bool Trace_Pending();
void Trace_Flush();
/** Prints one trace line to standard output. Output is buffered: a thread that traces flushes before it sleeps. */
void Trace(const char *pcFormat, ...) __attribute__((format(printf, 1, 2)));
/** Prints one trace line that is put together from pieces: for what every request traces, without printf's cost. */
void Trace_Text(std::initializer_list<std::string_view> pieces);
