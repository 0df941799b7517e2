#include "platform/escape.h"
#include "platform/path.h"
#include "tests/fakes/poisoned.h"
#include "tests/fakes/temp_root.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

TEST(EscapeDecodeString, DecodesInPlace)
{
    const std::pair<const char *, const char *> cases[] = {
        {"a%20b", "a b"}, {"%2f%2F", "//"}, {"%e9%FF", "\xE9\xFF"}, {"a+b", "a+b"}, {"%2541", "%41"}, {"%2", "%2"},
        {"100%", "100%"}, {"%2z", "%2z"},   {"%z2", "%z2"},         {"%%20", "% "}, {"%00x", "%00x"}, {"", ""},
    };
    for (const auto &[text, expected] : cases) {
        std::string decoded = text;
        EscapeDecodeString(decoded.data());
        EXPECT_STREQ(decoded.c_str(), expected) << text;
    }
}

class Path : public testing::Test
{
  protected:
    static void setRoot(const std::string &root)
    {
        setenv(PATH_ROOT_VARIABLE, root.c_str(), 1);
        Path_Open();
    }
    void TearDown() override
    {
        unsetenv(PATH_ROOT_VARIABLE);
        Path_Open();
    }
};

TEST_F(Path, StandsBehindTheRoot)
{
    PoisonedBuffer<16> out;
    EXPECT_EQ(Path_Resolve("/tmp/configer", out.span()), 0);
    EXPECT_STREQ(out.text(), "/tmp/configer");
    setRoot("/r");
    EXPECT_EQ(Path_Resolve("/tmp/configer", out.span()), 0) << "15 characters and the terminator fit";
    EXPECT_STREQ(out.text(), "/r/tmp/configer");
    setRoot("/ro");
    EXPECT_EQ(Path_Resolve("/tmp/configer", out.span()), -1) << "never shortened";
    EXPECT_TRUE(out.intact());
}

TEST_F(Path, OfAProgramIsNeverShortened)
{
    setRoot("/'");
    const std::string whole = "'/'\\''/bin/x' -e";
    for (size_t size = 1; size <= whole.size() + 1; ++size) {
        PoisonedBuffer<32> out;
        EXPECT_EQ(Path_ShellCommand("/bin/x", "-e", out.span().first(size)), size > whole.size() ? 0 : -1) << size;
        EXPECT_TRUE(out.intactFrom(size)) << size;
        EXPECT_TRUE(size <= whole.size() || out.text() == whole);
    }
    char acCommand[32];
    setRoot("");
    EXPECT_EQ(Path_ShellCommand("/bin/x", "", acCommand), 0);
    EXPECT_STREQ(acCommand, "/bin/x");
}

TEST_F(Path, OfAProgramRunsWhateverTheRootIsCalled)
{
    const TempRoot root;
    const std::string folder = root.path() + "/it's $HOME `date` \"q\" \\ ; * \n end";
    std::filesystem::create_directories(folder + "/bin");
    std::filesystem::create_symlink("/bin/true", folder + "/bin/x");
    setRoot(folder);
    char acCommand[512];
    ASSERT_EQ(Path_ShellCommand("/bin/x", "-e", acCommand), 0);
    EXPECT_EQ(system(acCommand), 0) << acCommand;
}
