#include "daemon/server/version.h"

#include "daemon/base/text_builder.h"

int Version_Format(uint32_t uiVersion, std::span<char> out)
{
    TextBuilder text(out);
    text.Addf("%u.%u.%u.%u", uiVersion & 0xFF, uiVersion >> 8 & 0xFF, uiVersion >> 16 & 0xFF, uiVersion >> 24);
    return static_cast<int>(text.Length());
}
