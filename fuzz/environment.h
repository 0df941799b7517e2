#pragma once

#include "daemon/session/session.h"
#include "tests/fakes/fake_store.h"
#include "tests/fakes/in_process_server.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <syslog.h>

/*
 * What the entry points for hostile input share. Each is a libFuzzer target of its own (LLVMFuzzerTestOneInput); an
 * ordinary test replays them over fuzz/corpus/ with seeded mutations.
 */

/** A camera's folder with a store in it, and a clock that nobody waits for. One for the life of the process. */
struct FuzzEnvironment {
    FuzzEnvironment()
    {
        setlogmask(LOG_MASK(LOG_DEBUG)); // thousands of refusals are of no interest to anybody
        std::filesystem::create_symlink("/bin/true",
                                        root.path("/usr/bin/gen_task")); // changes of the recorder run it
    }
    RootEnvironment root;
    FakeStore store{root.path("/tmp/configer"), {}};
    FakeClock clock;

    static FuzzEnvironment &get()
    {
        static FuzzEnvironment environment;
        return environment;
    }
};

/** Ends the process when what must always hold does not. */
inline void require(bool holds)
{
    if (!holds)
        abort();
}

/** True when the text ends inside its array. */
template <size_t N>
bool terminated(const char (&acText)[N])
{
    return memchr(acText, '\0', N) != nullptr;
}

/** The first line of the input, which is taken off it. */
inline std::string_view takeLine(std::string_view &input)
{
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(line.size() + 1, input.size()));
    return line;
}
