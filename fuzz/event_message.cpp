// A message of the event manager. Input: the message.

#include "fuzz/environment.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // As the daemon receives it: at most 4095 bytes, terminated, and only up to the first NUL byte.
    const std::string message(reinterpret_cast<const char *>(data), std::min<size_t>(size, 4095));
    EventRecord atRecords[MAX_EVENTS + 1] = {};
    atRecords[MAX_EVENTS].iIndex = -77;
    int32_t iCount = MAX_EVENTS;
    const int result = KelpaFdServer_ParseEventMsg(message.c_str(), strlen(message.c_str()), atRecords, &iCount);
    require(iCount >= 0 && iCount <= MAX_EVENTS && (result == 0 || result == -1));
    require(atRecords[MAX_EVENTS].iIndex == -77);
    return 0;
}
