#include "store/reportstore.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"
#include "store/moments.h"
#include "store/statement.h"

#include <gtest/gtest.h>

namespace talo::store
{

namespace
{

class Reports : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
        reopen();
    }
    void TearDown() override
    {
        unsetenv("TZ");
        tzset();
    }

    void reopen()
    {
        reports.reset();
        database.reset();
        std::string failure;
        database = Database::open(place.path(), failure);
        ASSERT_NE(database, nullptr) << failure;
        reports = std::make_unique<ReportStore>(*database, [this] { return now; });
    }

    std::string addEndingAt(std::time_t when, const std::string &type = "Custom Scan",
                            Outcome outcome = Outcome::Completed)
    {
        now = when - 60;
        const ReportStore::Id id = reports->begin({type, "/srv", "built-in", now});
        now = when;
        return reports->finish(id, outcome, {}, "");
    }

    static std::time_t local(int year, int month, int day, int hour = 12)
    {
        std::tm parts{};
        parts.tm_year = year - 1900;
        parts.tm_mon = month - 1;
        parts.tm_mday = day;
        parts.tm_hour = hour;
        parts.tm_isdst = -1;
        return mktime(&parts);
    }

    static constexpr std::time_t kSomeTime = 1795266309; // 21 Nov 2026 14:05:09 in Berlin
    TemporaryFolder place;
    std::time_t now = kSomeTime;
    std::unique_ptr<Database> database;
    std::unique_ptr<ReportStore> reports;
};

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST_F(Reports, AnEndedScanCanBeListedReadAndRemoved)
{
    now = kSomeTime - 128;
    const ReportStore::Id id =
        reports->begin({"Custom Scan", "/srv/data", "built-in, 2 signatures, 21 Nov 2026", now});
    reports->addThreat(id, {"/srv/data/a,b#c", "Eicar-Test", "infected", "deleted"});
    reports->addPassedOver(id, {PassedKind::Skipped, "/srv/data/big", "larger than 1 GiB"});
    reports->addPassedOver(id, {PassedKind::Error, "/srv/data/secret", "Permission denied"});
    now = kSomeTime;
    ReportTotals totals;
    totals.clean = {1234, 5600000};
    totals.threats = {1, 68};
    totals.skipped = {1, 3000000000};
    totals.errors = {1, 0};
    EXPECT_EQ(reports->finish(id, Outcome::Completed, totals, ""), "2026-11-21 14:05:09");

    const auto listing = reports->list("", "");
    ASSERT_EQ(listing.code, 0);
    ASSERT_EQ(listing.entries.size(), 1U);
    EXPECT_EQ(listing.entries[0].key, "2026-11-21 14:05:09");
    EXPECT_EQ(listing.entries[0].type, "Custom Scan");

    const auto reading = reports->read("2026-11-21 14:05:09");
    ASSERT_EQ(reading.code, 0);
    EXPECT_EQ(reading.date, "2026-11-21");
    EXPECT_EQ(reading.time, "14:05:09");
    EXPECT_EQ(reading.type, "Custom Scan");
    EXPECT_EQ(reading.text, "TALO Antivirus scan report\n"
                            "Report: 2026-11-21 14:05:09\n"
                            "Type: Custom Scan\n"
                            "Result: Completed\n"
                            "Started: 21 Nov 2026 14:03:01\n"
                            "Ended: 21 Nov 2026 14:05:09\n"
                            "Duration: 2 min 8 s\n"
                            "Scanned: /srv/data\n"
                            "Signatures: built-in, 2 signatures, 21 Nov 2026\n"
                            "Files: 1,237 (3.0 GB)\n"
                            "    Clean: 1,234 (5.6 MB)\n"
                            "    Threats: 1 (68 bytes)\n"
                            "    Not scanned: 1 (3.0 GB)\n"
                            "    Errors: 1 (0 bytes)\n"
                            "\n"
                            "Threats (1)\n"
                            "/srv/data/a,b#c\n"
                            "    Threat: Eicar-Test\n"
                            "    Class: infected\n"
                            "    Done: deleted\n"
                            "\n"
                            "Not scanned (1)\n"
                            "larger than 1 GiB:\n"
                            "    /srv/data/big\n"
                            "\n"
                            "Errors (1)\n"
                            "Permission denied:\n"
                            "    /srv/data/secret\n");

    EXPECT_EQ(reports->remove("2026-11-21 14:05:09"), 0);
    EXPECT_EQ(reports->remove("2026-11-21 14:05:09"), 203);
    EXPECT_EQ(reports->read("2026-11-21 14:05:09").code, 203);
    EXPECT_EQ(reports->list("", "").code, 204);
}

TEST_F(Reports, ScansThatEndInOneSecondGetNeighbouringKeys)
{
    EXPECT_EQ(addEndingAt(kSomeTime), "2026-11-21 14:05:09");
    EXPECT_EQ(addEndingAt(kSomeTime), "2026-11-21 14:05:10");
    EXPECT_EQ(addEndingAt(kSomeTime), "2026-11-21 14:05:11");
    const auto listing = reports->list("", "");
    ASSERT_EQ(listing.entries.size(), 3U);
    EXPECT_EQ(listing.entries[0].key, "2026-11-21 14:05:11");
    EXPECT_EQ(listing.entries[2].key, "2026-11-21 14:05:09");
}

TEST_F(Reports, TheRepeatedHourInAutumnKeepsKeysApartAndTheNewestFirst)
{
    // 2:30 comes twice on 25 Oct 2026 in Berlin.
    const std::time_t first = 1792888200;
    ASSERT_EQ(keyOf(first), keyOf(first + 3600));
    addEndingAt(first);
    const std::string second = addEndingAt(first + 3600);
    const auto listing = reports->list("", "");
    ASSERT_EQ(listing.entries.size(), 2U);
    EXPECT_EQ(listing.entries[0].key, second);
    EXPECT_NE(listing.entries[0].key, listing.entries[1].key);
}

struct Filter {
    const char *from;
    const char *to;
    int code;
    std::size_t entries;
};

TEST_F(Reports, AreFilteredByDay)
{
    addEndingAt(local(2026, 7, 3, 0));
    addEndingAt(local(2026, 7, 3, 23) + 3599);
    addEndingAt(local(2026, 7, 4));
    const Filter filters[] = {
        {"", "", 0, 3},
        {"2026:7:3", "2026:7:3", 0, 2},
        {"2026:7:3", "2026:7:4", 0, 3},
        {"2026:7:4", "", 0, 1},
        {"", "2026:7:3", 0, 2},
        {"2026:7:5", "2026:12:31", 204, 0},
        {"", "2026:7:2", 204, 0},
        {"2026:7:4", "2026:7:3", 205, 0},
        {"2026:10:1", "2026:9:30", 205, 0},
        {"2026:2:29", "", 206, 0},
        {"2028:2:29", "", 204, 0},
        {"2026:13:1", "", 206, 0},
        {"2026:0:1", "", 206, 0},
        {"2026:4:31", "", 206, 0},
        {"2026:07:3", "", 206, 0},
        {"2026-7-3", "", 206, 0},
        {"2026:7", "", 206, 0},
        {"2026:7:3:1", "", 206, 0},
        {" 2026:7:3", "", 206, 0},
        {"2026:7:3 ", "", 206, 0},
        {"20260:7:3", "", 206, 0},
        {"2026:7:300", "", 206, 0},
        {"", "'; DROP TABLE report; --", 206, 0},
        {"2026:7:4", "nonsense", 206, 0},
    };
    for (const Filter &filter : filters) {
        const auto listing = reports->list(filter.from, filter.to);
        EXPECT_EQ(listing.code, filter.code) << filter.from << " to " << filter.to;
        EXPECT_EQ(listing.entries.size(), filter.entries) << filter.from << " to " << filter.to;
    }
}

TEST_F(Reports, ListAThousandPassedOverFilesOfEachKindAndCountTheOthers)
{
    const ReportStore::Id id = reports->begin({"Full Scan", "/", "built-in", now});
    const auto reason = [](int file) { return "why " + std::to_string(file / 100); };
    for (int file = 0; file < 1003; ++file)
        reports->addPassedOver(
            id, {PassedKind::Skipped, "/skip/" + std::to_string(file), reason(file)});
    for (int file = 0; file < 1000; ++file)
        reports->addPassedOver(id,
                               {PassedKind::Error, "/error/" + std::to_string(file), reason(file)});
    const std::string text = reports->read(reports->finish(id, Outcome::Completed, {}, "")).text;
    EXPECT_TRUE(has(text, "Not scanned (1,003)\nwhy 0:\n    /skip/0\n"));
    EXPECT_TRUE(has(text, "/skip/999\n"));
    EXPECT_FALSE(has(text, "/skip/1000\n"));
    EXPECT_TRUE(has(text, "Only 1,000 of them are listed.\n\nErrors (1,000)\nwhy 0:\n"));
    EXPECT_TRUE(has(text, "    /error/999\n"));
}

TEST_F(Reports, DoNotLetManyLinksCrowdOutTheOneArchive)
{
    const ReportStore::Id id = reports->begin({"Full Scan", "/", "built-in", now});
    for (int file = 0; file < 5000; ++file)
        reports->addPassedOver(id,
                               {PassedKind::Skipped, "/link/" + std::to_string(file), "a link"});
    reports->addPassedOver(id, {PassedKind::Skipped, "/locked.zip", "encrypted"});
    const std::string text = reports->read(reports->finish(id, Outcome::Completed, {}, "")).text;
    EXPECT_TRUE(has(text, "Not scanned (5,001)\nencrypted:\n    /locked.zip\na link:\n"));
    EXPECT_TRUE(has(text, "    /link/199\nOnly 201 of them are listed.\n"));
}

TEST_F(Reports, WithTooManyThreatsForOneMessageCountThemAndListTheFirst)
{
    const ReportStore::Id id = reports->begin({"Full Scan", "/", "built-in", now});
    const std::string longPath = "/" + std::string(1u << 20u, 'x');
    for (int file = 0; file < 12; ++file)
        reports->addThreat(id, {longPath, "Eicar", "infected", "left"});
    const std::string text = reports->read(reports->finish(id, Outcome::Completed, {}, "")).text;
    EXPECT_LT(text.size(), std::size_t{10} << 20u);
    EXPECT_TRUE(has(text, "\nThreats (12)\n"));
    EXPECT_TRUE(has(text, "Only 8 of them are listed.\n"));
}

TEST_F(Reports, AnUnfinishedScanIsNotListedUntilItIsClosedAsInterrupted)
{
    const ReportStore::Id id = reports->begin({"Quick Scan", "Programs", "built-in", now});
    now += 10;
    reports->addThreat(id, {"/tmp/x", "Eicar", "hidden", "left"});
    now += 100;
    EXPECT_EQ(reports->list("", "").code, 204);
    reopen();
    EXPECT_EQ(reports->interrupted(), 1U);
    const auto listing = reports->list("", "");
    ASSERT_EQ(listing.entries.size(), 1U);
    // It ended when something was last known of it.
    EXPECT_EQ(listing.entries[0].key, "2026-11-21 14:05:19");
    const std::string text = reports->read(listing.entries[0].key).text;
    EXPECT_TRUE(has(text, "Result: Interrupted")) << text;
    EXPECT_TRUE(has(text, "/tmp/x\n    Threat: Eicar\n")) << text;
    reopen();
    EXPECT_EQ(reports->interrupted(), 0U);
}

TEST_F(Reports, TellOnceOfAStoreThatFailsAndStoreLaterWhatTheyCould)
{
    int told = 0;
    reports->onFailure([&told](const std::string &) { ++told; });
    const ReportStore::Id id = reports->begin({"Custom Scan", "/srv", "built-in", now});
    ASSERT_TRUE(Statement(*database, "PRAGMA query_only = 1").run());
    for (int number = 0; number < 50; ++number) {
        reports->addThreat(id, {"/srv/" + std::to_string(number), "T", "infected", "reported"});
        now += number % 2;
    }
    EXPECT_EQ(told, 1);
    ASSERT_TRUE(Statement(*database, "PRAGMA query_only = 0").run());
    const std::string text = reports->read(reports->finish(id, Outcome::Completed, {}, "")).text;
    EXPECT_TRUE(has(text, "/srv/0")) << text;
    EXPECT_TRUE(has(text, "/srv/49")) << text;
}

TEST_F(Reports, OutcomesReadAsWords)
{
    EXPECT_TRUE(has(reports->read(addEndingAt(now, "Full Scan", Outcome::Stopped)).text,
                    "Result: Stopped by the user\n"));
    const ReportStore::Id id = reports->begin({"Full Scan", "/", "built-in", now});
    const std::string key = reports->finish(id, Outcome::Failed, {}, "no signatures");
    EXPECT_TRUE(has(reports->read(key).text, "Result: Failed: no signatures\n"));
}

TEST_F(Reports, TheLastFullScanIsTheLastThatFinished)
{
    EXPECT_EQ(reports->lastFullScan(), "");
    addEndingAt(kSomeTime - 500, "Custom Scan");
    addEndingAt(kSomeTime - 400, "Full Scan", Outcome::Stopped);
    EXPECT_EQ(reports->lastFullScan(), "");
    const std::string key = addEndingAt(kSomeTime, "Full Scan");
    EXPECT_EQ(reports->lastFullScan(), "21 Nov 2026 14:05");
    addEndingAt(kSomeTime + 90000, "Quick Scan");
    EXPECT_EQ(reports->lastFullScan(), "21 Nov 2026 14:05");
    // Throwing the paper away does not undo the scan.
    EXPECT_EQ(reports->remove(key), 0);
    EXPECT_EQ(reports->lastFullScan(), "21 Nov 2026 14:05");
    addEndingAt(local(2026, 12, 2, 9), "Scheduled Full Scan");
    EXPECT_EQ(reports->lastFullScan(), "2 Dec 2026 09:00");
}

TEST_F(Reports, TextsOfAnyContentAreKeptAsTheyAre)
{
    const std::string odd = "/x/'; DELETE FROM report; -- \\x0a \xc3\xa4 <b>";
    const ReportStore::Id id = reports->begin({"Custom Scan", odd, "built-in", now});
    reports->addThreat(id, {odd, odd, "infected", odd});
    const std::string text = reports->read(reports->finish(id, Outcome::Completed, {}, "")).text;
    EXPECT_TRUE(has(text, "Scanned: " + odd + "\n"));
    EXPECT_TRUE(has(text, "\n" + odd + "\n    Threat: " + odd + "\n"));
}

TEST_F(Reports, TenThousandCanBeListed)
{
    ASSERT_TRUE(
        execute(*database,
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10000) "
                "INSERT INTO report (key, type, scanned, signatures, started, touched, outcome) "
                "SELECT datetime(1795266309 + 7 * i, 'unixepoch'), 'Quick Scan', '/', '', 1, "
                "1795266309 + 7 * i, 1 FROM n"));
    const auto listing = reports->list("", "");
    ASSERT_EQ(listing.entries.size(), 10000U);
    EXPECT_GT(listing.entries.front().key, listing.entries.back().key);
}

} // namespace talo::store
