#include "server/version.h"

#include <gtest/gtest.h>
#include <string>

TEST(Version, IsWrittenWithTheLowestByteFirst)
{
    char acText[16];
    EXPECT_EQ(Version_Format(KELPA_VERSION, acText), 8);
    EXPECT_STREQ(acText, "1.0.0.32");
    EXPECT_EQ(Version_Format(0x04030201, acText), 7);
    EXPECT_STREQ(acText, "1.2.3.4");
    EXPECT_EQ(Version_Format(0xFFFFFFFF, acText), 15) << "the longest one just fits";
    EXPECT_STREQ(acText, "255.255.255.255");
}
