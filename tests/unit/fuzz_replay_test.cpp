#include "tests/fakes/temp_root.h"
#include "tests/fakes/test_support.h"

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>

extern "C" {
int Fuzz_hand_over(const uint8_t *data, size_t size);
int Fuzz_event_message(const uint8_t *data, size_t size);
int Fuzz_request(const uint8_t *data, size_t size);
int Fuzz_store_reply(const uint8_t *data, size_t size);
int Fuzz_dns_answer(const uint8_t *data, size_t size);
}

namespace
{

/** Damages inputs in the ways in which parsers break. The same seed gives the same damage everywhere. */
class Mutator
{
  public:
    explicit Mutator(const std::vector<std::string> &corpus) : corpus_(corpus) {}

    std::string next()
    {
        std::string input = pick();
        for (uint32_t damages = 1 + random_() % 4; damages > 0; --damages)
            damage(input);
        return input;
    }

  private:
    size_t below(size_t limit) { return random_() % std::max<size_t>(limit, 1); }
    const std::string &pick() { return corpus_[below(corpus_.size())]; }
    std::string piece(const std::string &input) { return input.substr(below(input.size()), below(40)); }

    void damage(std::string &input)
    {
        const size_t place = below(input.size() + 1);
        const uint32_t kind = random_() % 8;
        if (kind == 0 && place < input.size())
            input[place] = static_cast<char>(random_());
        else if (kind == 1)
            input.insert(place, tokens_[below(tokens_.size())]);
        else if (kind == 2)
            input.erase(place, below(20));
        else if (kind == 3)
            input.resize(place);
        else if (kind == 4)
            input.insert(place, below(300), static_cast<char>('!' + below(90)));
        else if (kind == 5 || kind == 6)
            input.insert(place, piece(kind == 5 ? pick() : input));
        else if (below(16) == 0)
            input.append(below(20000), static_cast<char>('a' + below(26)));
    }

    static std::vector<std::string> tokens()
    {
        std::istringstream all("&|&&|=|%20|%|,|:|\n|\xC0|\xFF|0|-1|99|\\|\"|%n|2147483648|<|/>| |4294967295|"
                               "00000000000000000001");
        std::vector<std::string> tokens = {std::string(1, '\0')};
        for (std::string token; std::getline(all, token, '|');)
            tokens.push_back(token);
        return tokens;
    }

    const std::vector<std::string> &corpus_;
    const std::vector<std::string> tokens_ = tokens();
    std::mt19937 random_{20240607};
};

struct Target {
    const char *name;
    int (*entry)(const uint8_t *data, size_t size);
    int mutations;
};

struct FuzzReplay : testing::TestWithParam<Target> {
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay,
                         testing::Values(Target{"hand_over", Fuzz_hand_over, 20000},
                                         Target{"event_message", Fuzz_event_message, 20000},
                                         Target{"request", Fuzz_request, 20000},
                                         Target{"store_reply", Fuzz_store_reply, 10000},
                                         Target{"dns_answer", Fuzz_dns_answer, 40000}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(FuzzReplay, SurvivesTheCorpusAndItsMutations)
{
    std::set<std::filesystem::path> paths; // the order in a folder is not the same everywhere
    for (const auto &file : std::filesystem::directory_iterator(std::string(FUZZ_CORPUS "/") + GetParam().name))
        paths.insert(file.path());
    std::vector<std::string> corpus;
    for (const auto &path : paths)
        corpus.push_back(readWholeFile(path));
    ASSERT_FALSE(corpus.empty());

    // The daemon's trace of thousands of requests is of no use; failures go to standard error meanwhile.
    fflush(stdout);
    const FileDescriptor standardOutput(dup(STDOUT_FILENO)), null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    dup2(null.get(), STDOUT_FILENO);
    const auto run = [](const std::string &input) {
        // A copy of exactly this size, so that a sanitizer sees the first byte read too far.
        const std::vector<uint8_t> bytes(input.begin(), input.end());
        GetParam().entry(bytes.data(), bytes.size());
    };
    for (const std::string &input : corpus)
        run(input);
    Mutator mutator(corpus);
    for (int i = 0; i < GetParam().mutations; ++i)
        run(mutator.next());
    fflush(stdout);
    dup2(standardOutput.get(), STDOUT_FILENO);
}
