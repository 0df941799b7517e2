#pragma once

#include "daemon/session/index.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

/** Outcome of parsing (status kind) and of a GET or SET routine (mapping result); each but Ok is an error reply. */
enum class StatusKind : int32_t {
    Unset = 0, ///< answered as BadRequest
    Ok = 1,
    ServiceUnavailable = 2, ///< 503
    InternalError = 3,      ///< 500
    BadRequest = 4,         ///< 400
    Unauthorized = 5,       ///< 401
    InvalidParameter = 6,   ///< 200 with an XML result
    UpdateFailed = 7,       ///< 200 with an XML result
};

enum class RequestMethod : int32_t { Other = 0, Get = 1, Post = 2 };

/** Where a session stands; the numbers index the table of state routines. */
enum class SessionState : int32_t {
    Idle = 0,
    Receive = 1,
    Parse = 2,
    Mapping = 3,
    Compose = 4,
    Send = 5,
    Done = 6,
    Finish = 7,
    Rearm = 8,
};
inline constexpr int32_t SESSION_STATE_COUNT = 9;

inline constexpr int32_t SOCKET_NONE = -1;

/** Whose the client's socket is when the session ends. */
enum class SocketOwner : int32_t {
    Session = 0, ///< is closed with the session
    Other = 1,   ///< was given away, and is closed by its new owner
};

/** The request as the web server handed it over. */
struct FDIPCInfo {
    int32_t iClientSocket; ///< SOCKET_NONE marks a free slot
    char acUrl[128];
    RequestMethod eMethod;
    char acQeryString[4096]; ///< at most 4095 characters; parsing may append "&"
    int32_t iContentLength;
    char acPostBody[4096]; ///< as the query string
};

/**
 * One connection, from intake to its end. Small fields first: KelpaFdServer_ResetSlot zeroes them all, and of the
 * large ones what was used.
 */
struct SessionSlot {
    FDIPCInfo tRequest; ///< first, so that a slot can stand in for its request
    SessionState eState;
    uint32_t uiStartTick;  ///< NetUtility_GetTickMs at intake
    int32_t iBufferLength; ///< bytes of the body received (-1 possible, see intake), then the reply's length
    int32_t iBytesSent;    ///< offset of the next send
    StatusKind eStatusKind;
    MappingMethod eMappingMethod;
    int32_t iMappingIndex; ///< a GetIndex or a SetIndex, by the mapping method
    StatusKind eMappingResult;
    int32_t iKeepOpen; ///< 1 once the headers of an open stream are out; exempts the slot from the time limit
    SocketOwner eSocketOwner;
    int32_t iDrained;      ///< 1: an open stream's socket had nothing more to receive when it was asked last
    int32_t iAwaited;      ///< events of poll(2) on its socket without which there is nothing to do; 0: drive it on
    uint32_t uiBufferUsed; ///< bytes of the buffer that were ever written
    uint32_t uiParameterUsed;              ///< size of the record in the parameter area
    uint32_t uiResultUsed;                 ///< size of the record in the result area
    char acBuffer[10000];                  ///< the rest of a request's body being received, then the reply
    alignas(8) char acParameterArea[4096]; ///< what the SET parser found, a <Family>Param
    alignas(8) char acResultArea[4096];    ///< what the GET routine read, a <Family>Result
};
static_assert(std::is_standard_layout_v<SessionSlot> && std::is_trivially_copyable_v<SessionSlot>);
static_assert(offsetof(SessionSlot, tRequest) == 0);

/** A family's record in one of the slot's areas, which are all zero when a session begins. */
template <typename Record>
Record &Session_Area(char (&acArea)[4096], uint32_t &uiUsed)
{
    static_assert(sizeof(Record) <= sizeof acArea && alignof(Record) <= 8);
    static_assert(std::is_trivially_copyable_v<Record> && std::is_trivially_default_constructible_v<Record>);
    uiUsed = std::max(uiUsed, static_cast<uint32_t>(sizeof(Record)));
    return *std::launder(reinterpret_cast<Record *>(acArea));
}
template <typename Record>
Record &Session_Param(SessionSlot &slot)
{
    return Session_Area<Record>(slot.acParameterArea, slot.uiParameterUsed);
}
template <typename Record>
Record &Session_Result(SessionSlot &slot)
{
    return Session_Area<Record>(slot.acResultArea, slot.uiResultUsed);
}

/** Says that the buffer was written up to `end`. */
inline void Session_UseBuffer(SessionSlot &slot, size_t end)
{
    slot.uiBufferUsed = std::max(slot.uiBufferUsed, static_cast<uint32_t>(end));
}

/*
 * How parsers and routines end. Parsing: `return Session_Accept(slot);` or `return Session_Refuse(slot, reason);`,
 * which SET routines also use for parameters that turn out unusable. GET and SET routines: `return
 * Session_Succeed(slot);` or `return Session_Fail(slot, reason);`. The first of each pair gives 0, the second -1.
 */
[[nodiscard]] inline int Session_Accept(SessionSlot &slot)
{
    slot.eStatusKind = StatusKind::Ok;
    return 0;
}
[[nodiscard]] inline int Session_Refuse(SessionSlot &slot, StatusKind reason)
{
    slot.eStatusKind = reason;
    return -1;
}
[[nodiscard]] inline int Session_Succeed(SessionSlot &slot)
{
    slot.eMappingResult = StatusKind::Ok;
    return 0;
}
[[nodiscard]] inline int Session_Fail(SessionSlot &slot, StatusKind reason)
{
    slot.eMappingResult = reason;
    return -1;
}
