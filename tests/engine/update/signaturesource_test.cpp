#include "update/databasefile.h"
#include "update/signaturesource.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace talo::update
{

namespace
{

bool has(const std::string &text, const std::string &line)
{
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

} // namespace

TEST(SignatureSource, UsesTheOfficialMirrorsUnlessToldOtherwise)
{
    SignatureSource source;
    EXPECT_EQ(faultOf(source), "");
    EXPECT_EQ(databasesOf(source), 3U);
    const std::string text = freshclamConfiguration(source, "/work");
    EXPECT_TRUE(has(text, "DatabaseMirror database.clamav.net"));
    EXPECT_TRUE(has(text, "DatabaseDirectory /work"));
    EXPECT_EQ(text.find("Proxy"), std::string::npos);
    const auto arguments = freshclamArguments(source, "/work/conf");
    EXPECT_EQ(std::count(arguments.begin(), arguments.end(), "--update-db=custom"), 0);

    source.mirrors = {"one.example.org", "two.example.org"};
    source.privateMirrors = {"own.example.org"};
    source.proxy = "http://proxy.example.org:3128";
    source.proxyUser = "talo";
    source.proxyPassword = "secret";
    const std::string other = freshclamConfiguration(source, "/work");
    EXPECT_TRUE(has(other, "DatabaseMirror one.example.org"));
    EXPECT_TRUE(has(other, "DatabaseMirror two.example.org"));
    EXPECT_TRUE(has(other, "PrivateMirror own.example.org"));
    EXPECT_TRUE(has(other, "HTTPProxyServer http://proxy.example.org"));
    EXPECT_TRUE(has(other, "HTTPProxyPort 3128"));
    EXPECT_TRUE(has(other, "HTTPProxyPassword secret"));
    EXPECT_EQ(other.find("database.clamav.net"), std::string::npos);
}

TEST(SignatureSource, OfOnesOwnDatabasesNeedsNoOfficialOne)
{
    SignatureSource source;
    source.official = false;
    source.databases = {"https://s.example.org/dir/own.ndb"};
    EXPECT_EQ(faultOf(source), "");
    const auto arguments = freshclamArguments(source, "/work/conf");
    EXPECT_EQ(std::count(arguments.begin(), arguments.end(), "--update-db=custom"), 1);
    EXPECT_TRUE(comesFrom(source, "own.ndb"));
    EXPECT_FALSE(comesFrom(source, "main.cvd"));
    EXPECT_FALSE(comesFrom(source, "other.ndb"));
}

TEST(SignatureSource, TakesTheOfficialDatabasesByName)
{
    const SignatureSource source;
    EXPECT_TRUE(comesFrom(source, "daily.cld"));
    EXPECT_TRUE(comesFrom(source, "main.cvd"));
    EXPECT_FALSE(comesFrom(source, "evil.cvd"));
    EXPECT_EQ(nameOf("daily.cld"), "daily");
}

TEST(SignatureSource, RefusesWhatCouldMeanAnythingElse)
{
    const auto faulty = [](void (*change)(SignatureSource &)) {
        SignatureSource source;
        change(source);
        return !faultOf(source).empty();
    };
    EXPECT_TRUE(faulty([](auto &s) { s.mirrors = {"a b"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.mirrors = {"x\nOnUpdateExecute"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.mirrors = {"http://x/y"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.privateMirrors = {""}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.databases = {"file:///etc/own.ndb"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.databases = {"http://x/own.txt"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.databases = {"http://x/"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.databases = {"http://x/.ndb"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.databases = {"own.ndb"}; }));
    EXPECT_TRUE(faulty([](auto &s) { s.proxy = "proxy.example.org:3128"; }));
    EXPECT_TRUE(faulty([](auto &s) { s.proxy = "http://proxy"; }));
    EXPECT_TRUE(faulty([](auto &s) { s.proxy = "http://proxy:99999999"; }));
    EXPECT_TRUE(faulty([](auto &s) { s.proxyPassword = "a b"; }));
    EXPECT_TRUE(faulty([](auto &s) { s.program = "freshclam"; }));
    EXPECT_TRUE(faulty([](auto &s) { s.workFolder = ""; }));
}

} // namespace talo::update
