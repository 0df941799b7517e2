#include "platform/escape.h"
#include "platform/path.h"
#include "tests/fakes/poisoned.h"
#include "tests/fakes/temp_root.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

TEST(EscapeDecodeString, DecodesInPlace)
{
    const struct {
        const char *text;
        const char *expected;
    } cases[] = {
        {"", ""},       {"a%20b", "a b"}, {"%41%42%43", "ABC"}, {"%2f%2F", "//"}, {"%e9%FF", "\xE9\xFF"},
        {"%", "%"},     {"a+b", "a+b"},   {"%2541", "%41"},     {"%2", "%2"},     {"100%", "100%"},
        {"%2z", "%2z"}, {"%z2", "%z2"},   {"%%20", "% "},       {"%00x", "%00x"}, {"%20%0", " %0"},
    };
    for (const auto &c : cases) {
        std::string text = c.text;
        text.push_back('\0');
        EscapeDecodeString(text.data());
        EXPECT_STREQ(text.c_str(), c.expected) << c.text;
    }
}

class Path : public testing::Test
{
  protected:
    static void SetRoot(const std::string &root) { setenv(PATH_ROOT_VARIABLE, root.c_str(), 1); }
    void TearDown() override { unsetenv(PATH_ROOT_VARIABLE); }
};

TEST_F(Path, StandsBehindTheRoot)
{
    PoisonedBuffer<16> out;
    for (const bool set : {false, true}) {
        unsetenv(PATH_ROOT_VARIABLE);
        if (set)
            SetRoot("");
        EXPECT_EQ(Path_Resolve("/tmp/configer", out.Span()), 0);
        EXPECT_STREQ(out.Text(), "/tmp/configer");
    }
    SetRoot("/r");
    EXPECT_EQ(Path_Resolve("/tmp/configer", out.Span()), 0) << "15 characters and the terminator fit";
    EXPECT_STREQ(out.Text(), "/r/tmp/configer");
    SetRoot("/ro");
    EXPECT_EQ(Path_Resolve("/tmp/configer", out.Span()), -1) << "never shortened";
    EXPECT_TRUE(out.Intact());
}

TEST_F(Path, OfAProgramIsQuotedForTheShell)
{
    const auto command = [](const char *root, const char *arguments) {
        SetRoot(root);
        char acCommand[128];
        EXPECT_EQ(Path_ShellCommand("/bin/task", arguments, acCommand), 0);
        return std::string(acCommand);
    };
    EXPECT_EQ(command("", ""), "/bin/task");
    EXPECT_EQ(command("", "-e"), "/bin/task -e");
    EXPECT_EQ(command("/r", ""), "'/r/bin/task'");
    EXPECT_EQ(command("/a b;$(c)", "-e > /dev/null"), "'/a b;$(c)/bin/task' -e > /dev/null");
    EXPECT_EQ(command("/it's", "-e"), "'/it'\\''s/bin/task' -e");
}

TEST_F(Path, OfAProgramIsNeverShortened)
{
    SetRoot("/'");
    const std::string whole = "'/'\\''/bin/x' -e";
    for (size_t size = 1; size <= whole.size(); ++size) {
        PoisonedBuffer<32> out;
        EXPECT_EQ(Path_ShellCommand("/bin/x", "-e", out.Span().first(size)), -1) << size;
        EXPECT_TRUE(out.IntactFrom(size)) << size;
    }
    PoisonedBuffer<32> out;
    EXPECT_EQ(Path_ShellCommand("/bin/x", "-e", out.Span().first(whole.size() + 1)), 0);
    EXPECT_EQ(out.Text(), whole);
}

TEST_F(Path, OfAProgramRunsWhateverTheRootIsCalled)
{
    const TempRoot root;
    const std::string folder = root.Path() + "/it's $HOME `date` \"q\" \\ ; * \n end";
    std::filesystem::create_directories(folder + "/bin");
    std::filesystem::create_symlink("/bin/true", folder + "/bin/x");
    SetRoot(folder);
    char acCommand[512];
    ASSERT_EQ(Path_ShellCommand("/bin/x", "-e", acCommand), 0);
    EXPECT_EQ(system(acCommand), 0) << acCommand;
}
