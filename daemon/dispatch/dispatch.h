#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/index.h"
#include "daemon/session/session.h"

/** A GET-prepare function or a SET parser: 0 with the mapping chosen, or -1 with the status kind set. */
using ParseFunction = int (*)(SessionSlot &slot);
/** A GET or SET routine: 0, or -1; sets the mapping result itself. */
using MappingFunction = int (*)(SessionSlot &slot);
/** Writes the body of a read's reply from the slot's result area; what does not fit the builder is cut. */
using ComposeFunction = void (*)(TextBuilder &body, SessionSlot &slot);

struct UrlRow {
    const char *pcUrl;
    ParseFunction pfnGetPrepare;
    ParseFunction pfnSetParser;
};
struct GetRow {
    GetIndex eIndex;
    MappingFunction pfnRoutine;
    ComposeFunction pfnCompose;
};
struct SetRow {
    SetIndex eIndex;
    MappingFunction pfnRoutine;
};

/** The URL's row, or null. */
[[nodiscard]] const UrlRow *Dispatch_FindUrl(const char *pcUrl);
/** Runs the mapping routine that parsing chose. */
[[nodiscard]] int Dispatch_RunGet(SessionSlot &slot);
[[nodiscard]] int Dispatch_RunSet(SessionSlot &slot);
/** Calls the composer of a read. */
void Dispatch_Compose(TextBuilder &body, SessionSlot &slot);

/**
 * Looks the request's URL up and parses the request: a read gets its mapping index, a change its parameters.
 * Returns 0, or -1 with the status kind set.
 */
[[nodiscard]] int Dispatch_Parse(SessionSlot &slot);
