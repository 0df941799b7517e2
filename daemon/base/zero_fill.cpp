#include "daemon/base/zero_fill.h"

#include <algorithm>
#include <cstring>

namespace
{

/** Small against a page, so that little of the pages around a used part is written to. */
constexpr size_t BLOCK = 256;

bool IsZero(const char *pc, size_t size)
{
    return *pc == '\0' && memcmp(pc, pc + 1, size - 1) == 0;
}

} // namespace

void ZeroFill(void *pvMemory, size_t size)
{
    auto *pcMemory = static_cast<char *>(pvMemory);
    for (size_t at = 0; at < size; at += BLOCK) {
        const size_t length = std::min(BLOCK, size - at);
        if (!IsZero(pcMemory + at, length))
            memset(pcMemory + at, 0, length);
    }
}
