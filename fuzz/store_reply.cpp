// What the configuration store answers, through the GET routine of a family into its reply. Input: the GET index on
// a line of its own, then the answer to every request.

#include "daemon/base/text_builder.h"
#include "daemon/base/text_finder.h"
#include "daemon/dispatch/dispatch.h"
#include "daemon/reply/composer.h"
#include "fuzz/environment.h"

#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static FuzzEnvironment &environment = FuzzEnvironment::get();
    std::string_view input(reinterpret_cast<const char *>(data), size);
    const int32_t index = Text_ToInt(takeLine(input));
    environment.store.answer(input);

    const auto slot = std::make_unique<SessionSlot>();
    slot->tRequest.iClientSocket = SOCKET_NONE;
    slot->tRequest.eMethod = RequestMethod::Get;
    Text_Copy(slot->tRequest.acQeryString, "profileid=1&");
    slot->eStatusKind = StatusKind::Ok;
    slot->eMappingMethod = MappingMethod::Get;
    slot->iMappingIndex = index;
    const int result = Dispatch_GetRow(*slot).pfnRoutine(*slot);
    require(result == 0 || slot->eMappingResult != StatusKind::Ok || slot->eStatusKind != StatusKind::Ok);
    Composer_Routine_KELPAAPI(*slot);
    require(slot->iBufferLength >= 0 && slot->iBufferLength < static_cast<int32_t>(sizeof slot->acBuffer));
    return 0;
}
