#include "daemon/server/pid_file.h"
#include "daemon/server/version.h"
#include "tests/fakes/temp_root.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(PidFile, IsForAllToReadAndRemovedOnlyWhileItHoldsThePid)
{
    const TempRoot root;
    const std::string path = root.path("/pid");
    const std::string own = std::to_string(getpid());
    root.write("/pid", "an older file with a longer text\n");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    const mode_t mask = umask(0077);
    StashPid(path.c_str());
    umask(mask);
    EXPECT_EQ(readWholeFile(path), own + "\n");
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);

    const auto removed = [&](const std::string &content) {
        root.write("/pid", content);
        RemovePid(path.c_str());
        return !std::filesystem::exists(path);
    };
    EXPECT_TRUE(removed(own + "\n"));
    EXPECT_TRUE(removed(" \n" + own + " x")) << "with blanks before and anything behind";
    for (const std::string &other : {std::to_string(getpid() + 1) + "\n", own + "0\n", "x" + own, std::string()})
        EXPECT_FALSE(removed(other)) << other;
    StashPid(root.path("/no/folder/pid").c_str()); // logged, no more
    RemovePid(root.path("/no/folder/pid").c_str());
}

TEST(Version, IsWrittenWithTheLowestByteFirst)
{
    char acText[16];
    EXPECT_EQ(Version_Format(0x04030201, acText), 7);
    EXPECT_STREQ(acText, "1.2.3.4");
    EXPECT_EQ(Version_Format(0xFFFFFFFF, acText), 15) << "the longest one just fits";
    EXPECT_STREQ(acText, "255.255.255.255");
}
