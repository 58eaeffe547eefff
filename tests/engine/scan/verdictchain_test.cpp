#include "scan/verdictchain.h"

#include "engine/scan/fakesource.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

using namespace talo::scan;
using namespace talo::test;

namespace
{

// Remembers sizes that were found clean.
class SizeLink : public VerdictLink
{
public:
    explicit SizeLink(std::map<off_t, int> &seen) : seen_(seen) {}
    std::optional<Verdict> judge(const Candidate &file) override
    {
        if (seen_.count(file.status->st_size))
            return Verdict{VerdictKind::Clean, {}};
        return std::nullopt;
    }
    void learn(const Candidate &file, const Verdict &verdict) override
    {
        if (verdict.kind == VerdictKind::Clean)
            ++seen_[file.status->st_size];
    }

private:
    std::map<off_t, int> &seen_;
};

struct TestFile {
    explicit TestFile(const std::string &text) : file(std::tmpfile())
    {
        std::fputs(text.c_str(), file);
        std::fflush(file);
        fstat(fileno(file), &status);
    }
    ~TestFile() { std::fclose(file); }
    TestFile(const TestFile &) = delete;
    TestFile &operator=(const TestFile &) = delete;
    Candidate candidate() const { return {fileno(file), &status}; }

    FILE *file;
    struct stat status = {};
};

constexpr std::chrono::milliseconds kAtOnce{0};

} // namespace

TEST(VerdictChain, asksThePoolWhereNoLinkKnows)
{
    const auto control = std::make_shared<FakeSource::Control>();
    std::map<off_t, int> seen;
    std::vector<std::unique_ptr<VerdictLink>> links;
    links.push_back(std::make_unique<SizeLink>(seen));
    VerdictChain chain(std::move(links), FakeSource(control).open(), {});

    const TestFile clean("fine");
    EXPECT_FALSE(chain.submit(1, clean.candidate()));
    EXPECT_EQ(chain.pending(), 1u);
    const auto result = chain.next(kAtOnce);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->cookie, 1u);
    EXPECT_EQ(result->verdict.kind, VerdictKind::Clean);
    EXPECT_EQ(chain.pending(), 0u);

    const auto known = chain.submit(2, clean.candidate());
    ASSERT_TRUE(known);
    EXPECT_EQ(known->kind, VerdictKind::Clean);
    EXPECT_EQ(control->submitted(), 1u);
}

TEST(VerdictChain, tellsItsLinksWhatWasFound)
{
    const auto control = std::make_shared<FakeSource::Control>();
    std::map<off_t, int> seen;
    std::vector<std::unique_ptr<VerdictLink>> links;
    links.push_back(std::make_unique<SizeLink>(seen));
    VerdictChain chain(std::move(links), FakeSource(control).open(), {});

    const TestFile threat("THREAT Test.Virus");
    EXPECT_FALSE(chain.submit(1, threat.candidate()));
    ASSERT_TRUE(chain.next(kAtOnce));
    EXPECT_FALSE(chain.submit(2, threat.candidate())) << "only what is clean is remembered";
    chain.cancel();
    EXPECT_TRUE(control->cancelled());
    EXPECT_EQ(chain.pending(), 0u);
    EXPECT_TRUE(seen.empty());
}
