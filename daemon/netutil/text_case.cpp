#include "daemon/netutil/text_case.h"

int NetUtility_ToUpper(char *pcText, int32_t iCount)
{
    for (int32_t i = 0; i < iCount; ++i)
        if (pcText[i] >= 'a' && pcText[i] <= 'z')
            pcText[i] = static_cast<char>(pcText[i] - 'a' + 'A');
    return 0;
}
