#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/read_table.h"

#include <gtest/gtest.h>

/*
 * What is the same for every read: what it asks for and answers, that it fails without any value that it needs and
 * with one that is too long, and what it logs. What a family makes of particular values is in its own test.
 */

namespace
{

class Reads : public testing::Test
{
  protected:
    /** Expects the reply, so many questions to the store, and what is logged. */
    void expect(const std::string &reply, size_t asked, const std::string &log)
    {
        camera.store.clearRequests();
        const size_t logged = camera.log().size(), mark = std::min(read.url.find('?'), read.url.size());
        const std::string got =
            camera.get(read.url.substr(0, mark), read.url.substr(std::min(mark + 1, read.url.size())));
        EXPECT_EQ(reply.empty() ? got.substr(0, 15) : got, reply.empty() ? "HTTP/1.1 200 OK" : reply);
        EXPECT_EQ(camera.log().substr(logged), log);
        std::vector<std::string> requests;
        for (size_t i = 0; i < asked; ++i)
            requests.push_back(questions[i].request);
        EXPECT_EQ(camera.store.requests(), requests);
    }
    /** Expects the read's body with `to` in place of `from`. */
    void expectBody(const std::string &from = {}, const std::string &to = {})
    {
        std::string body;
        for (const char c : replaced(read.body, read.body.empty() ? "" : from, to))
            body += c == '\n' ? std::string("\r\n") : std::string(1, c);
        expect(read.body.empty() ? "" : okReply(body), questions.size(), "");
    }
    /** Answers the n-th question with another text in place of a value, null for none. */
    void answer(size_t n, const StoredValue &changed, const std::string *text)
    {
        std::string answer = "\n";
        for (const auto &[name, value, kind] : questions[n].answer)
            if (name != changed.name || text != nullptr)
                answer += name + "=" + (name == changed.name ? *text : value) + "\n";
        camera.store.answer(answer, static_cast<int>(n) + 1);
    }
    /** What the read does without a value of its n-th question, or with a longer one than it takes. */
    void expectWithout(size_t n, const StoredValue &value, bool missing)
    {
        if (value.is("none"))
            expectBody(value.value);
        else if (value.is("unused") || (value.is("flag") && !missing))
            expectBody();
        else
            expect(INTERNAL_ERROR, n + 1,
                   (value.is("flag") ? questions[n].caller + "Get_Configer_BOOL_Value failed\n" : "") +
                       questions[n].log);
    }
    /** Runs `test` for each question of each read in turn, with the store as all their answers say. */
    void forEachQuestion(const std::function<void(size_t n)> &test)
    {
        for (const FamilyRead &each : allReads()) {
            read = each;
            questions = each.questions();
            for (const StoreQuestion &question : questions)
                for (const StoredValue &value : question.answer)
                    camera.store.set(value.name, value.value);
            for (size_t n = 0; n < questions.size(); ++n) {
                SCOPED_TRACE(read.url + ", question " + std::to_string(n + 1));
                test(n);
            }
        }
    }
    void forEachValue(const std::function<void(size_t n, const StoredValue &value)> &test)
    {
        forEachQuestion([&](size_t n) {
            for (const StoredValue &value : questions[n].answer) {
                SCOPED_TRACE(value.name);
                test(n, value);
            }
        });
    }

    TestCamera camera;
    FamilyRead read;
    std::vector<StoreQuestion> questions;
};

} // namespace

TEST_F(Reads, FailWithoutTheStore)
{
    forEachQuestion([this](size_t n) {
        expectBody();
        camera.store.answerNothing(static_cast<int>(n) + 1);
        expect(read.url.starts_with("/cgi/admin/") ? SERVICE_UNAVAILABLE : INTERNAL_ERROR, n + 1,
               questions[n].caller + "Get_Configer_Parameter failed\n" + questions[n].log);
    });
}

TEST_F(Reads, FailWithoutAnyValueThatIsNeeded)
{
    forEachValue([this](size_t n, const StoredValue &value) {
        answer(n, value, nullptr);
        expectWithout(n, value, true);
    });
}

TEST_F(Reads, TakeValuesUpToTheirLimit)
{
    forEachValue([this](size_t n, const StoredValue &value) {
        const std::string longest = value.stretched(value.limit()), longer = value.stretched(value.limit() + 1);
        answer(n, value, &longer);
        expectWithout(n, value, false);
        if (value.is("word") || value.value.empty())
            return;
        answer(n, value, &longest);
        expectBody(value.isText() ? value.value : "", value.isText() ? longest : "");
    });
}
