#include "server/pid_file.h"
#include "tests/fakes/temp_root.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

TEST(PidFile, HoldsThePidForAllToRead)
{
    const TempRoot root;
    const std::string path = root.Path("/pid");
    root.Write("/pid", "an older file with a longer text\n");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    const mode_t mask = umask(0077);
    StashPid(path.c_str());
    umask(mask);
    EXPECT_EQ(ReadWholeFile(path), std::to_string(getpid()) + "\n");
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
}

TEST(PidFile, IsRemovedOnlyWhileItHoldsThePid)
{
    const TempRoot root;
    const std::string path = root.Path("/pid");
    const std::string own = std::to_string(getpid());
    const struct {
        const char *description;
        std::string content;
        bool removed;
    } cases[] = {
        {"own", own + "\n", true},
        {"own, with blanks before and anything behind", " \n" + own + " x", true},
        {"another", std::to_string(getpid() + 1) + "\n", false},
        {"one that begins like ours", own + "0\n", false},
        {"no number", "x" + own, false},
        {"empty", "", false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        root.Write("/pid", c.content);
        RemovePid(path.c_str());
        EXPECT_EQ(std::filesystem::exists(path), !c.removed);
    }
    StashPid(root.Path("/no/folder/pid").c_str()); // logged, no more
    RemovePid(root.Path("/no/folder/pid").c_str());
}
