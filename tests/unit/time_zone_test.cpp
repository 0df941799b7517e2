#include "daemon/families/system/time_zone.h"

#include <gtest/gtest.h>
#include <map>

TEST(TimeZone, EveryApiNumberHasItsStoreValue)
{
    // By API number, from 1.
    const int32_t expected[] = {-480, -440, -400, -360, -320, -320, -280, -280, -281, -241, -241, -242, -240, -201,
                                -200, -201, -180, -160, -160, -160, -140, -120, -120, -120, -120, -80,  -40,  -40,
                                0,    0,    41,   41,   40,   41,   40,   80,   80,   80,   80,   81,   82,   82,
                                82,   82,   120,  120,  120,  120,  120,  140,  160,  160,  160,  180,  200,  200,
                                220,  220,  230,  240,  240,  260,  280,  280,  320,  320,  320,  320,  320,  360,
                                360,  360,  380,  380,  400,  400,  400,  400,  400,  440,  480,  480,  520};
    static_assert(std::size(expected) == TIME_ZONE_LAST);
    for (int32_t iNumber = TIME_ZONE_FIRST; iNumber <= TIME_ZONE_LAST; ++iNumber)
        EXPECT_EQ(TimeZone_ToStore(iNumber), expected[iNumber - 1]) << iNumber;
    for (const int32_t iNumber : {-1, 0, 84, INT32_MAX})
        EXPECT_EQ(TimeZone_ToStore(iNumber), 0) << iNumber;
}

TEST(TimeZone, EveryStoreValueIsReportedAsOneApiNumber)
{
    const std::map<int32_t, int32_t> expected = {
        {-480, 1},  {-440, 2},  {-400, 3},  {-360, 4},  {-320, 5},  {-281, 9},  {-280, 8},  {-242, 12}, {-241, 11},
        {-240, 13}, {-201, 14}, {-200, 15}, {-180, 17}, {-160, 18}, {-140, 21}, {-120, 22}, {-80, 26},  {-40, 27},
        {0, 29},    {40, 35},   {41, 31},   {80, 36},   {81, 40},   {82, 41},   {120, 45},  {140, 50},  {160, 52},
        {180, 54},  {200, 56},  {220, 57},  {230, 59},  {240, 61},  {260, 62},  {280, 64},  {320, 65},  {360, 71},
        {380, 73},  {400, 78},  {440, 80},  {480, 82},  {520, 83}};
    for (int32_t iStore = -600; iStore <= 600; ++iStore) {
        const auto row = expected.find(iStore);
        EXPECT_EQ(TimeZone_FromStore(iStore), row != expected.end() ? row->second : 0) << iStore;
    }
}
