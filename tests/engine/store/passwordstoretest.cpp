#include "store/passwordstore.h"
#include "store/codepoints.h"
#include "store/database.h"
#include "store/statement.h"

#include "engine/store/temporaryfolder.h"

#include <gtest/gtest.h>

#include <set>
#include <sodium.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace talo::store
{

namespace
{

using Answer = PasswordStore::Answer;
using Change = PasswordStore::Change;

// What hashing takes out of the machine is not what most tests are about.
std::string quickHash(const std::string &password)
{
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    EXPECT_GE(sodium_init(), 0);
    EXPECT_EQ(crypto_pwhash_str(hash.data(), password.data(), password.size(),
                                crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN),
              0);
    return hash.data();
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryCanBeLimited = false; // the sanitizers take terabytes of addresses
#else
constexpr bool kMemoryCanBeLimited = true;
#endif

// Runs the body in a child that may not have this much more memory; its answer, or -1.
template <typename Body> int withMemory(std::size_t more, Body body)
{
    const pid_t child = fork();
    if (child == 0) {
        rusage used{};
        getrusage(RUSAGE_SELF, &used);
        const rlim_t limit = static_cast<rlim_t>(used.ru_maxrss) * 1024 + more;
        const rlimit address{limit, limit};
        setrlimit(RLIMIT_AS, &address);
        _exit(body());
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class Passwords : public testing::Test
{
protected:
    void SetUp() override { open(); }
    void open()
    {
        database_.reset();
        std::string failure;
        database_ = Database::open(folder_.path(), failure);
        ASSERT_NE(database_, nullptr) << failure;
        store_ = std::make_unique<PasswordStore>(*database_);
        store_->onFailure([this](const std::string &what) { told_ = what; });
    }
    void storeQuickly(const std::string &password)
    {
        Statement update(*database_, "UPDATE password SET hash = ?");
        ASSERT_TRUE(update.bind(quickHash(password)).run());
    }
    Answer matches(const std::string &text) { return store_->matches(Secret(text)); }
    Change create(const std::string &text, const std::string &again)
    {
        return store_->create(Secret(text), Secret(again));
    }
    Change change(const std::string &current, const std::string &text, const std::string &again)
    {
        return store_->change(Secret(current), Secret(text), Secret(again));
    }

    TemporaryFolder folder_;
    std::unique_ptr<Database> database_;
    std::unique_ptr<PasswordStore> store_;
    std::string told_;
};

} // namespace

TEST(CodePoints, CountsCharactersOfEveryLength)
{
    EXPECT_EQ(codePoints(""), 0U);
    EXPECT_EQ(codePoints("abc"), 3U);
    EXPECT_EQ(codePoints("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\x92"), 4U);
    EXPECT_EQ(codePoints(std::string_view("a\0b", 3)), 3U);
    EXPECT_EQ(codePoints("\xF4\x8F\xBF\xBF"), 1U); // the last there is
}

TEST(CodePoints, KnowsWhatIsNoUtf8)
{
    for (const char *text :
         {"\x80", "\xFF", "\xC3", "\xE2\x82", "\xF0\x9F\x94", "a\xC3z", // stray and cut
          "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xF0\x80\x80\x80",   // longer than need be
          "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"})
        EXPECT_EQ(codePoints(text), std::nullopt) << text;
}

TEST(RandomPassword, HasTwelveReadableCharactersAndIsNeverTheSame)
{
    std::set<std::string> seen;
    for (int round = 0; round < 1000; ++round) {
        const Secret password = randomPassword();
        EXPECT_EQ(password.view().size(), 12U);
        EXPECT_EQ(password.view().find_first_of("0O1lI"), std::string_view::npos);
        for (const char letter : password.view())
            EXPECT_TRUE(isalnum(static_cast<unsigned char>(letter)));
        seen.emplace(password.view());
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(PasswordHash, IsArgon2idAndSaltedAndOfModerateCost)
{
    const Secret password("correct horse");
    const std::string hash = hashPassword(password);
    EXPECT_EQ(hash.rfind("$argon2id$v=19$m=262144,t=3,p=1$", 0), 0U) << hash;
    EXPECT_NE(hashPassword(password), hash);
    EXPECT_EQ(matchesHash(password, hash), Match::Yes);
    EXPECT_EQ(matchesHash(Secret("correct horsf"), hash), Match::No);
}

TEST(PasswordHash, TakesLessWhereMemoryIsShort)
{
    if (!kMemoryCanBeLimited)
        GTEST_SKIP() << "memory cannot be limited under a sanitizer";
    const auto hashed = [] {
        return hashPassword(Secret("correct")).rfind("$argon2id$v=19$m=65536,", 0) == 0 ? 0 : 1;
    };
    EXPECT_EQ(withMemory(180UL << 20, hashed), 0);
    EXPECT_EQ(
        withMemory(16UL << 20, [] { return hashPassword(Secret("correct")).empty() ? 0 : 1; }), 0);
}

TEST(PasswordHash, WithoutMemoryNothingMatchesAndNothingIsWrong)
{
    if (!kMemoryCanBeLimited)
        GTEST_SKIP() << "memory cannot be limited under a sanitizer";
    const std::string hash = hashPassword(Secret("correct"));
    for (const char *text : {"correct", "wrong"})
        EXPECT_EQ(withMemory(100UL << 20,
                             [&] { return static_cast<int>(matchesHash(Secret(text), hash)); }),
                  static_cast<int>(Match::Failed));
}

TEST(PasswordHash, NothingMatchesWhatIsNoHash)
{
    for (const std::string hash :
         {"", "secret", "$argon2id$v=19$m=262144,t=3,p=1$", "$m=64", "$argon2id$v=19$m=64,garbage",
          "$argon2id$v=19$m=99999999999,t=3,p=1$W2t9TwCHj5oj2yQ+tL/hiw$6uAKxs9pc2++c+Y8NwwPMWF4E"})
        EXPECT_EQ(matchesHash(Secret("secret"), hash), Match::Failed) << hash;
    EXPECT_EQ(matchesHash(Secret("secret"), "$m=64" + std::string(200, 'x')), Match::Failed);
}

TEST_F(Passwords, BeginsWithoutPasswordAndProtection)
{
    EXPECT_EQ(store_->exists(), Answer::No);
    EXPECT_EQ(store_->isProtected(), Answer::No);
    EXPECT_EQ(matches(""), Answer::No);
    EXPECT_EQ(change("", "secret", "secret"), Change::Refused);
    EXPECT_FALSE(store_->replace(quickHash("secret")));
    EXPECT_EQ(store_->exists(), Answer::No);
}

TEST_F(Passwords, CreatesTheFirstOneOnly)
{
    EXPECT_EQ(create("secret", "secret"), Change::Done);
    EXPECT_EQ(store_->exists(), Answer::Yes);
    EXPECT_EQ(store_->isProtected(), Answer::No);
    EXPECT_EQ(create("another", "another"), Change::Refused);
    open();
    EXPECT_EQ(matches("secret"), Answer::Yes);
    EXPECT_EQ(matches("another"), Answer::No);
    EXPECT_EQ(matches("secret "), Answer::No);
    EXPECT_EQ(matches(""), Answer::No);
    EXPECT_EQ(matches(std::string(1 << 20, 'x')), Answer::No);
}

TEST_F(Passwords, ChecksANewOneInItsOrder)
{
    EXPECT_EQ(create("a", "b"), Change::Differ);
    EXPECT_EQ(create("a", "a"), Change::Length);
    storeQuickly("current");
    EXPECT_EQ(create("a", "b"), Change::Differ);
    EXPECT_EQ(create("a", "a"), Change::Length);
    EXPECT_EQ(create("secret", "secret"), Change::Refused);
    EXPECT_EQ(change("wrong!", "a", "b"), Change::Refused);
    EXPECT_EQ(change("current", "a", "b"), Change::Differ);
    EXPECT_EQ(change("current", "a", "a"), Change::Length);
    EXPECT_EQ(matches("current"), Answer::Yes);
    EXPECT_EQ(change("current", "secret", "secret"), Change::Done);
    EXPECT_EQ(matches("secret"), Answer::Yes);
    EXPECT_EQ(matches("current"), Answer::No);
}

TEST_F(Passwords, CountsCharactersAndNotBytes)
{
    const std::string lock = "\xF0\x9F\x94\x92";
    const auto locks = [&lock](int count) {
        std::string text;
        for (; count > 0; --count)
            text += lock;
        return text;
    };
    EXPECT_EQ(create(locks(5), locks(5)), Change::Length);
    EXPECT_EQ(create(locks(16), locks(16)), Change::Length);
    EXPECT_EQ(create("12345", "12345"), Change::Length);
    EXPECT_EQ(create(std::string(16, 'x'), std::string(16, 'x')), Change::Length);
    EXPECT_EQ(create("secret\xC3", "secret\xC3"), Change::Length);
    EXPECT_EQ(store_->exists(), Answer::No);
    EXPECT_EQ(create(locks(15), locks(15)), Change::Done);
    EXPECT_EQ(matches(locks(15)), Answer::Yes);
    EXPECT_EQ(change(locks(15), locks(6), locks(6)), Change::Done);
    EXPECT_EQ(change(locks(6), "123456", "123456"), Change::Done);
}

TEST_F(Passwords, ReplacesWhateverThereIs)
{
    storeQuickly("current");
    EXPECT_FALSE(store_->replace(""));
    EXPECT_EQ(matches("current"), Answer::Yes);
    EXPECT_TRUE(store_->replace(quickHash("mailed")));
    EXPECT_EQ(matches("mailed"), Answer::Yes);
    EXPECT_EQ(matches("current"), Answer::No);
}

TEST_F(Passwords, KeepsTheFlagApart)
{
    EXPECT_TRUE(store_->setProtected(true));
    open();
    EXPECT_EQ(store_->isProtected(), Answer::Yes);
    EXPECT_EQ(store_->exists(), Answer::No);
    EXPECT_TRUE(store_->setProtected(false));
    EXPECT_EQ(store_->isProtected(), Answer::No);
}

TEST_F(Passwords, CountsWrongOnesOfEachUser)
{
    EXPECT_EQ(store_->wrongAttempts(0), 0);
    EXPECT_TRUE(store_->setWrongAttempts(1000, 5));
    EXPECT_TRUE(store_->setWrongAttempts(1001, 1));
    EXPECT_TRUE(store_->setWrongAttempts(1000, 6));
    open();
    EXPECT_EQ(store_->wrongAttempts(1000), 6);
    EXPECT_EQ(store_->wrongAttempts(1001), 1);
    EXPECT_TRUE(store_->setWrongAttempts(1000, 0));
    EXPECT_EQ(store_->wrongAttempts(1000), 0);
    EXPECT_EQ(store_->wrongAttempts(1001), 1);
}

TEST_F(Passwords, NothingIsAllowedByARecordThatCannotBeRead)
{
    ASSERT_TRUE(execute(*database_, "DROP TABLE password"));
    ASSERT_TRUE(execute(*database_, "DROP TABLE wrong_password"));
    EXPECT_EQ(store_->exists(), Answer::Failed);
    EXPECT_EQ(store_->isProtected(), Answer::Failed);
    EXPECT_EQ(matches("secret"), Answer::Failed);
    EXPECT_EQ(create("secret", "secret"), Change::Failed);
    EXPECT_EQ(change("secret", "secret", "secret"), Change::Failed);
    EXPECT_FALSE(store_->setProtected(false));
    EXPECT_FALSE(store_->replace(quickHash("secret")));
    EXPECT_EQ(store_->wrongAttempts(1000), -1);
    EXPECT_FALSE(store_->setWrongAttempts(1000, 1));
    EXPECT_NE(told_, "");
}

TEST_F(Passwords, AnUnusableHashIsAnErrorAndNoMatch)
{
    Statement update(*database_, "UPDATE password SET hash = 'secret'");
    ASSERT_TRUE(update.run());
    EXPECT_EQ(matches("secret"), Answer::Failed);
    EXPECT_EQ(change("secret", "another", "another"), Change::Failed);
    EXPECT_NE(told_, "");
}

} // namespace talo::store
