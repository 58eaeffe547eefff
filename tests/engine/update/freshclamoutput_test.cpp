#include "update/freshclamoutput.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace talo::update
{

namespace
{

std::string bar(const std::string &sizes)
{
    return "\x1b[?7lTime:    0.0s, ETA:    0.1s [====>         ]   " + sizes + "\r\x1b[?7h";
}

// A run as it looks: two databases, the first of which was new.
std::string session()
{
    return "ClamAV update process started at Sat Nov 21 14:47:14 2026\n"
           "WARNING: DNS Update Info disabled. Falling back to HTTP mode.\n" +
           bar("0B/3.00MiB") + bar("64.00KiB/3.00MiB") + bar("1.50MiB/3.00MiB") +
           bar("3.00MiB/3.00MiB") +
           "\nTesting database: '/x/tmp-one.ndb' ...\nDatabase test passed.\n"
           "one.ndb updated (version: custom database, sigs: 60000)\n" +
           bar("0B/512B") + bar("256B/512B");
}

} // namespace

TEST(FreshclamOutput, TellsWhereTheDownloadStands)
{
    FreshclamOutput output;
    output.feed(session());
    EXPECT_EQ(output.total(), 512U);
    EXPECT_EQ(output.done(), 256U);
    EXPECT_EQ(output.before(), 3U * 1024 * 1024);
    EXPECT_EQ(output.finished(), 1U);
    EXPECT_EQ(output.complaint(), "");
    EXPECT_EQ(output.coolDownUntil(), 0);
    output.feed("\ntwo.hdb is up-to-date (version: custom database)\n");
    EXPECT_EQ(output.finished(), 2U);
}

TEST(FreshclamOutput, IsTheSameHoweverItIsCut)
{
    FreshclamOutput output;
    for (const char byte : session())
        output.feed(std::string_view(&byte, 1));
    EXPECT_EQ(output.done(), 256U);
    EXPECT_EQ(output.before(), 3U * 1024 * 1024);
    EXPECT_EQ(output.finished(), 1U);
}

TEST(FreshclamOutput, PrefersWhatTheDownloadComplainedOf)
{
    FreshclamOutput output;
    output.feed("ERROR: Download failed (7) ERROR:  Message: Couldn't connect to server\n"
                "ERROR: Can't download x.hdb from http://127.0.0.1/x.hdb\n"
                "ERROR: Database update process failed: Connection failed\n"
                "ERROR: Update failed.\n");
    EXPECT_EQ(output.complaint(), "Couldn't connect to server");
    FreshclamOutput other;
    other.feed("ERROR: Database update process failed: HTTP GET failed\nERROR: Update failed.\n");
    EXPECT_EQ(other.complaint(), "HTTP GET failed");
}

TEST(FreshclamOutput, KnowsTheServersWish)
{
    FreshclamOutput output;
    output.feed("WARNING: You are on cool-down until after: 2026-11-21 15:51:34\n");
    std::tm moment{};
    const std::time_t when = output.coolDownUntil();
    localtime_r(&when, &moment);
    EXPECT_EQ(moment.tm_hour, 15);
    EXPECT_EQ(moment.tm_sec, 34);
    FreshclamOutput other;
    other.feed("WARNING: You are on cool-down until after: tomorrow\n");
    EXPECT_EQ(other.coolDownUntil(), 0);
}

TEST(FreshclamOutput, IsFitToBeShown)
{
    FreshclamOutput output;
    output.feed("ERROR:  Message: \x1b[31m\x07" + std::string(5000, 'x') + "\xff\n");
    EXPECT_LE(output.complaint().size(), 200U);
    EXPECT_EQ(output.complaint().find('\x1b'), std::string::npos);
    EXPECT_EQ(output.complaint().find('\x07'), std::string::npos);
}

TEST(FreshclamOutput, TakesNoNonsenseForProgress)
{
    for (const char *sizes : {"99999999999999999999TiB/1B", "1.5/3", "-1B/3B", "B/B", "1e9KiB/2KiB",
                              "nanB/3B", "1B/", "/1B", "999999999999GiB/1GiB"}) {
        FreshclamOutput output;
        output.feed(bar(sizes));
        EXPECT_EQ(output.total(), 0U) << sizes;
    }
    FreshclamOutput output;
    output.feed(bar("5B/3B"));
    EXPECT_EQ(output.done(), 3U);
}

// Whatever comes, figures stay in their order and texts short and printable.
TEST(FreshclamOutput, SurvivesAnything)
{
    constexpr unsigned kSeed = 20261121;
    constexpr int kRounds = 20000;
    std::mt19937 random(kSeed);
    const std::string model = session() + "ERROR:  Message: Timeout was reached\n"
                                          "cool-down until after: 2026-11-21 15:51:34\n";
    for (int round = 0; round < kRounds; ++round) {
        std::string text = model;
        for (unsigned change = random() % 16; change > 0; --change) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, random() % 40);
                break;
            case 2:
                text.insert(at, text.substr(random() % text.size(), random() % 40));
                break;
            default:
                text.insert(at, std::string(random() % 4000, static_cast<char>(random())));
            }
            if (text.empty())
                text = "\r";
        }
        FreshclamOutput output;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t size = 1 + random() % 4096;
            output.feed(std::string_view(text).substr(at, size));
            at += size;
            ASSERT_LE(output.done(), output.total());
            ASSERT_LE(output.total(), 1000000000000U);
        }
        const std::string complaint = output.complaint();
        ASSERT_LE(complaint.size(), 200U);
        ASSERT_TRUE(std::none_of(complaint.begin(), complaint.end(), [](char letter) {
            return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F;
        }));
    }
}

} // namespace talo::update
