#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/index.h"
#include "daemon/session/session.h"

#include <string_view>

/** A GET-prepare function or a SET parser: 0 with the mapping chosen, or -1 with the status kind set. */
using ParseFunction = int (*)(SessionSlot &slot);
/** A GET or SET routine: 0, or -1; sets the mapping result itself. */
using MappingFunction = int (*)(SessionSlot &slot);
/** Writes the body of a read's reply from the slot's result area; what does not fit the builder is cut. */
using ComposeFunction = void (*)(TextBuilder &body, SessionSlot &slot);

/** What is special about a URL before its request is parsed. */
enum class UrlTrait : int32_t {
    None,
    Selector,     ///< a query that is one selector, the number of a profile, reads instead of changing
    StreamedBody, ///< the body is a stream for the URL's routine: intake does not wait for it
};

/** What the client gets once the routine has succeeded. */
enum class ReplyKind : int32_t {
    WithLength, ///< headers with the length of the body, which follows
    StatusLine, ///< the status line alone, and nothing at all to a request with a body, which goes on
    HandedOn,   ///< nothing: the connection was passed to another process, which answers
};

/** A body that a change's reply has instead of the request's pairs. */
struct FixedBody {
    std::string_view text;
    const char *pcTrace = nullptr; ///< traced along with it
};

/** What belongs to a read whose reply stays open: its composer is asked again whenever it may have more to say. */
struct OpenStream {
    /** Milliseconds until the composer has something to say by itself; UINT32_MAX when only events can tell. */
    uint32_t (*pfnDueMs)(SessionSlot &slot);
    /** Is told before an event changes what the composer reads; what it has seen so far lasted until now. */
    void (*pfnBeforeEvent)(SessionSlot &slot);
};

struct UrlRow {
    const char *pcUrl;
    ParseFunction pfnGetPrepare;
    ParseFunction pfnSetParser;
    UrlTrait eTrait = UrlTrait::None;
};
struct GetRow {
    GetIndex eIndex;
    MappingFunction pfnRoutine;
    ComposeFunction pfnCompose;
    ReplyKind eReply = ReplyKind::WithLength;
    const OpenStream *ptStream = nullptr; ///< null: the reply ends with the body
};
struct SetRow {
    SetIndex eIndex;
    MappingFunction pfnRoutine;
    const FixedBody *ptBody = nullptr; ///< null: the reply echoes the request's pairs
    ReplyKind eReply = ReplyKind::WithLength;
};

/** The URL's row, or null. */
[[nodiscard]] const UrlRow *Dispatch_FindUrl(const char *pcUrl);
/** The row of the slot's mapping index; for an index outside the table row 0, whose functions do nothing. */
[[nodiscard]] const GetRow &Dispatch_GetRow(const SessionSlot &slot);
[[nodiscard]] const SetRow &Dispatch_SetRow(const SessionSlot &slot);
/** How the slot's request is answered by the table of its mapping method; WithLength before one is chosen. */
[[nodiscard]] ReplyKind Dispatch_ReplyKind(const SessionSlot &slot);
/** The open stream that answers the slot's request, or null. */
[[nodiscard]] const OpenStream *Dispatch_OpenStream(const SessionSlot &slot);

/**
 * Looks the request's URL up and parses the request: a read gets its mapping index, a change its parameters.
 * Returns 0, or -1 with the status kind set.
 */
[[nodiscard]] int Dispatch_Parse(SessionSlot &slot);
