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
    const std::string &pick() { return corpus_[random_() % corpus_.size()]; }
    size_t Place(const std::string &input) { return random_() % (input.size() + 1); }
    std::string piece(const std::string &input)
    {
        return input.empty() ? "" : input.substr(random_() % input.size(), random_() % 40);
    }

    void damage(std::string &input)
    {
        switch (random_() % 8) {
        case 0:
            if (!input.empty())
                input[random_() % input.size()] = static_cast<char>(random_());
            break;
        case 1:
            input.insert(Place(input), tokens_[random_() % tokens_.size()]);
            break;
        case 2:
            input.erase(Place(input), random_() % 20);
            break;
        case 3:
            input.resize(Place(input));
            break;
        case 4:
            input.insert(Place(input), std::string(random_() % 300, static_cast<char>('!' + random_() % 90)));
            break;
        case 5:
            input.insert(Place(input), piece(pick()));
            break;
        case 6:
            input.insert(Place(input), piece(input));
            break;
        default:
            if (random_() % 16 == 0)
                input.append(random_() % 20000, static_cast<char>('a' + random_() % 26));
            break;
        }
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

class FuzzReplay : public testing::TestWithParam<Target>
{
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
