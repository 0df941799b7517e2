#pragma once

#include <cstddef>
#include <cstdint>
#include <expat.h>
#include <span>
#include <string_view>

/*
 * Messages of the event manager: one header line, "MSG <type> <length>" and a line feed, then <length> bytes of
 * XML.
 */

inline constexpr int32_t MESSAGE_TYPE_EVENT = 1;

/** One event, in the order in which the event manager's library lays it out. */
struct EventRecord {
    int32_t iIndex;   ///< input or motion window, from 0
    int32_t iChannel; ///< not used by the daemon
    int32_t iType;    ///< EVENT_TYPE_*
    int32_t iState;   ///< EVENT_STATE_ACTIVE, any other value is inactive
    int32_t iTime;    ///< seconds since 1970; not used by the daemon
};

inline constexpr int32_t EVENT_TYPE_INPUT = 1;
inline constexpr int32_t EVENT_TYPE_MOTION = 3;
inline constexpr int32_t EVENT_TYPE_MOTION_ALTERNATE = 4;
inline constexpr int32_t EVENT_STATE_INACTIVE = 1;
inline constexpr int32_t EVENT_STATE_ACTIVE = 2;

/**
 * Reads the header line. Returns 0 with the type, the header's length (its line feed included) and the body's
 * length in bytes, or -1 on a malformed line or when fewer body bytes follow than it says.
 */
[[nodiscard]] int Message_GetTypeLength(const char *pcText, size_t length, int32_t *piType, int32_t *piHeaderLength,
                                        int32_t *piBodyLength);

/**
 * Reads the events of a message's XML: <eventmsg> with <event index= channel= type= state= time=/> elements.
 * `*piCount` is the room in `ptRecords` and becomes the number stored; events beyond the room are dropped.
 * The parser is the caller's, fresh. Returns 0, or -1 on XML that is not well-formed or is no event message, and on
 * a missing or non-numeric index, type or state.
 */
[[nodiscard]] int Message_Parse_Event(XML_Parser parser, const char *pcXml, size_t length, int32_t *piCount,
                                      EventRecord *ptRecords);

/** The sending end: writes the message of some events; returns its length, or 0 when it does not fit. */
[[nodiscard]] size_t Message_ComposeEvents(std::span<const EventRecord> records, std::span<char> out);
