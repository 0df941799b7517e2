// A request's road from dispatch to its reply, the store's answers being what they are. Input: the URL on a line of
// its own, then the query string; a URL that begins with "!" has the text in its body.

#include "daemon/base/text_builder.h"
#include "daemon/dispatch/dispatch.h"
#include "daemon/reply/composer.h"
#include "fuzz/environment.h"

#include <algorithm>
#include <memory>

namespace
{

/** Changes that run a program, or wait for another daemon, for each input. They are parsed only. */
constexpr SetIndex PARSED_ONLY[] = {SetIndex::ModifyUser, SetIndex::DeleteUser, SetIndex::DIDOConfig,
                                    SetIndex::AudioUpstream};

bool runsRoutine(const SessionSlot &slot)
{
    return slot.eMappingMethod == MappingMethod::Get ||
           std::ranges::find(PARSED_ONLY, static_cast<SetIndex>(slot.iMappingIndex)) == std::end(PARSED_ONLY);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static FuzzEnvironment &environment = FuzzEnvironment::get();
    environment.store.answer("ok=1\n");
    std::string_view input(reinterpret_cast<const char *>(data), size);
    std::string_view url = takeLine(input);
    const bool post = url.starts_with('!');
    url.remove_prefix(post ? 1 : 0);

    const auto slot = std::make_unique<SessionSlot>();
    slot->tRequest.iClientSocket = SOCKET_NONE;
    slot->tRequest.eMethod = post ? RequestMethod::Post : RequestMethod::Get;
    Text_Copy(slot->tRequest.acUrl, url);
    Text_Copy(post ? slot->tRequest.acPostBody : slot->tRequest.acQeryString, input);
    const int parsed = Dispatch_Parse(*slot);
    require((parsed == 0) == (slot->eStatusKind == StatusKind::Ok));
    if (parsed == 0 && runsRoutine(*slot))
        (void)(slot->eMappingMethod == MappingMethod::Get ? Dispatch_GetRow(*slot).pfnRoutine
                                                          : Dispatch_SetRow(*slot).pfnRoutine)(*slot);
    Composer_Routine_KELPAAPI(*slot);
    require(slot->iBufferLength >= 0 && slot->iBufferLength < static_cast<int32_t>(sizeof slot->acBuffer));
    require(std::string_view(slot->acBuffer).size() == static_cast<size_t>(slot->iBufferLength));
    require(terminated(slot->tRequest.acQeryString) && terminated(slot->tRequest.acPostBody));
    return 0;
}
