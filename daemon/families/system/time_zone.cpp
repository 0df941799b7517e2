#include "daemon/families/system/time_zone.h"

namespace
{

/** Some API numbers; {0, 0} stands for none, since numbers begin with 1. */
struct Numbers {
    int32_t iFirst;
    int32_t iLast;
};

struct TimeZoneRow {
    int32_t iStore;    ///< offset from UTC in hours times 40, plus 1 or 2 where zones share an offset
    int32_t iReported; ///< the one API number that is read back, not always the lowest
    Numbers aWritten[2];
};

constexpr TimeZoneRow TIME_ZONES[] = {
    // clang-format off
    {-480, 1, {{1, 1}}},
    {-440, 2, {{2, 2}}},
    {-400, 3, {{3, 3}}},
    {-360, 4, {{4, 4}}},
    {-320, 5, {{5, 6}}},
    {-281, 9, {{9, 9}}},
    {-280, 8, {{7, 8}}},
    {-242, 12, {{12, 12}}},
    {-241, 11, {{10, 11}}},
    {-240, 13, {{13, 13}}},
    {-201, 14, {{14, 14}, {16, 16}}},
    {-200, 15, {{15, 15}}},
    {-180, 17, {{17, 17}}},
    {-160, 18, {{18, 20}}},
    {-140, 21, {{21, 21}}},
    {-120, 22, {{22, 25}}},
    {-80, 26, {{26, 26}}},
    {-40, 27, {{27, 28}}},
    {0, 29, {{29, 30}}},
    {40, 35, {{33, 33}, {35, 35}}},
    {41, 31, {{31, 32}, {34, 34}}},
    {80, 36, {{36, 39}}},
    {81, 40, {{40, 40}}},
    {82, 41, {{41, 44}}},
    {120, 45, {{45, 49}}},
    {140, 50, {{50, 50}}},
    {160, 52, {{51, 53}}},
    {180, 54, {{54, 54}}},
    {200, 56, {{55, 56}}},
    {220, 57, {{57, 58}}},
    {230, 59, {{59, 59}}},
    {240, 61, {{60, 61}}},
    {260, 62, {{62, 62}}},
    {280, 64, {{63, 64}}},
    {320, 65, {{65, 69}}},
    {360, 71, {{70, 72}}},
    {380, 73, {{73, 74}}},
    {400, 78, {{75, 79}}},
    {440, 80, {{80, 80}}},
    {480, 82, {{81, 82}}},
    {520, 83, {{83, 83}}},
    // clang-format on
};

bool Holds(const Numbers &numbers, int32_t iNumber)
{
    return iNumber >= numbers.iFirst && iNumber <= numbers.iLast;
}

} // namespace

int32_t TimeZone_ToStore(int32_t iApiNumber)
{
    if (iApiNumber < TIME_ZONE_FIRST)
        return 0;
    for (const TimeZoneRow &row : TIME_ZONES)
        if (Holds(row.aWritten[0], iApiNumber) || Holds(row.aWritten[1], iApiNumber))
            return row.iStore;
    return 0;
}

int32_t TimeZone_FromStore(int32_t iStoreValue)
{
    for (const TimeZoneRow &row : TIME_ZONES)
        if (row.iStore == iStoreValue)
            return row.iReported;
    return 0;
}
