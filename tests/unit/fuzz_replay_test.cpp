#include "tests/fakes/temp_root.h"
#include "tests/fakes/unique_fd.h"

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <set>

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
    explicit Mutator(const std::vector<std::string> &corpus) : m_corpus(corpus) {}

    std::string Next()
    {
        std::string input = Pick();
        for (uint32_t damages = 1 + m_random() % 4; damages > 0; --damages)
            Damage(input);
        return input;
    }

  private:
    const std::string &Pick() { return m_corpus[m_random() % m_corpus.size()]; }
    size_t Place(const std::string &input) { return m_random() % (input.size() + 1); }
    std::string Piece(const std::string &input)
    {
        return input.empty() ? "" : input.substr(m_random() % input.size(), m_random() % 40);
    }

    void Damage(std::string &input)
    {
        static constexpr std::string_view TOKENS[] = {"&",
                                                      "&&",
                                                      "=",
                                                      "%20",
                                                      "%",
                                                      ",",
                                                      ":",
                                                      "\n",
                                                      {"\0", 1},
                                                      "\xC0",
                                                      "\xFF",
                                                      "0",
                                                      "-1",
                                                      "99",
                                                      "\\",
                                                      "\"",
                                                      "%n",
                                                      "2147483648",
                                                      "<",
                                                      "/>",
                                                      " ",
                                                      "4294967295",
                                                      "00000000000000000001"};
        switch (m_random() % 8) {
        case 0:
            if (!input.empty())
                input[m_random() % input.size()] = static_cast<char>(m_random());
            break;
        case 1:
            input.insert(Place(input), TOKENS[m_random() % std::size(TOKENS)]);
            break;
        case 2:
            input.erase(Place(input), m_random() % 20);
            break;
        case 3:
            input.resize(Place(input));
            break;
        case 4:
            input.insert(Place(input), std::string(m_random() % 300, static_cast<char>('!' + m_random() % 90)));
            break;
        case 5:
            input.insert(Place(input), Piece(Pick()));
            break;
        case 6:
            input.insert(Place(input), Piece(input));
            break;
        default:
            if (m_random() % 16 == 0)
                input.append(m_random() % 20000, static_cast<char>('a' + m_random() % 26));
            break;
        }
    }

    const std::vector<std::string> &m_corpus;
    std::mt19937 m_random{20240607};
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
        corpus.push_back(ReadWholeFile(path));
    ASSERT_FALSE(corpus.empty());

    // The daemon's trace of thousands of requests is of no use; failures go to standard error meanwhile.
    fflush(stdout);
    const UniqueFd standardOutput(dup(STDOUT_FILENO)), null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    dup2(null.Get(), STDOUT_FILENO);
    const auto run = [](const std::string &input) {
        // A copy of exactly this size, so that a sanitizer sees the first byte read too far.
        const std::vector<uint8_t> bytes(input.begin(), input.end());
        GetParam().entry(bytes.data(), bytes.size());
    };
    for (const std::string &input : corpus)
        run(input);
    Mutator mutator(corpus);
    for (int i = 0; i < GetParam().mutations; ++i)
        run(mutator.Next());
    fflush(stdout);
    dup2(standardOutput.Get(), STDOUT_FILENO);
}
