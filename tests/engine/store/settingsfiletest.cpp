// Export and import: what comes out goes in again, and nothing else does.
#include "store/settingsfile.h"
#include "store/settingstransfer.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"
#include "store/exclusionstore.h"
#include "store/schedulestore.h"
#include "store/statement.h"

#include <gtest/gtest.h>

#include <random>

namespace talo::store
{

namespace
{

using Result = ImportOutcome::Result;

constexpr std::int64_t kNow = 1763733909;

struct Store {
    Store()
    {
        std::string failure;
        database = Database::open(place.path(), failure);
        EXPECT_NE(database, nullptr) << failure;
    }
    std::string text() const
    {
        std::string exported;
        EXPECT_EQ(exportSettings(*database, exported), "");
        return exported;
    }
    std::int64_t devicesBlocked() const
    {
        SettingValues values;
        EXPECT_EQ(SettingsStore(*database).read(values), "");
        return values[Setting::DevicesBlocked];
    }

    TemporaryFolder place;
    std::unique_ptr<Database> database;
};

// Every setting different from a new installation's, and exclusions and schedules of every form.
void changeAll(Store &store)
{
    std::vector<SettingsStore::Change> changes;
    changes.reserve(kSettings);
    for (const SettingRow &row : kTable)
        changes.emplace_back(row.setting, row.atFirst == row.least ? row.most : row.least);
    ASSERT_EQ(SettingsStore(*store.database).apply(changes).result, SettingsStore::Result::Done);
    ExclusionStore exclusions(*store.database);
    for (const Exclusion &entry : {Exclusion{ExclusionKind::Location, "/srv/a=b;[c] #d/"},
                                   Exclusion{ExclusionKind::Extension, "ISO"},
                                   Exclusion{ExclusionKind::Location, "/with blank at its end "},
                                   Exclusion{ExclusionKind::Extension, "\xc3\xa4"},
                                   Exclusion{ExclusionKind::Location, "/\\n\"'%"}})
        ASSERT_EQ(exclusions.add(entry).code, ExclusionCode::Done) << entry.text;
    ScheduleStore schedules(*store.database);
    for (const ScheduleValues &values :
         {ScheduleValues{"night", 1, 501, 8, 0, 0},
          ScheduleValues{"\xd0\xbd\xd0\xbe\xd1\x87\xd1\x8c", 3, 502, 0, 23, 59},
          ScheduleValues{"MORE1234", 1, 502, 6, 14, 5}})
        ASSERT_EQ(schedules.add(values, kNow).code, ScheduleCode::Done) << values.name;
}

std::vector<StoredSchedule> schedulesOf(const Store &store)
{
    std::vector<StoredSchedule> schedules;
    EXPECT_EQ(ScheduleStore(*store.database).list(schedules), "");
    return schedules;
}

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

} // namespace

TEST(SettingsFile, IsTheTextOfANewInstallation)
{
    EXPECT_EQ(Store().text(), "[TALO Antivirus Settings]\nVersion=1\n"
                              "\n[General]\nScanPacked=1\nScanArchives=1\n"
                              "\n[ScanActions]\nInfectedFirst=301\nInfectedSecond=303\n"
                              "SuspectedFirst=304\nSuspectedSecond=304\n"
                              "HiddenFirst=301\nHiddenSecond=303\n"
                              "\n[ExternalDrive]\nScanOnArrival=1\n"
                              "\n[Firewall]\nOn=0\n"
                              "\n[Update]\nAutomatic=1\nFrequency=2\n"
                              "\n[Exclusions]\n"
                              "\n[Schedules]\n");
}

TEST(SettingsFile, MakesASecondStoreEqual)
{
    Store first;
    Store second;
    changeAll(first);
    ASSERT_EQ(ExclusionStore(*second.database).add({ExclusionKind::Extension, "old"}).code,
              ExclusionCode::Done);
    ASSERT_EQ(ScheduleStore(*second.database).add({"NIGHT", 3, 501, 8, 0, 0}, 1).code,
              ScheduleCode::Done);
    const std::string text = first.text();
    ASSERT_NE(second.text(), text);
    const ImportOutcome outcome = importSettings(*second.database, text, kNow);
    ASSERT_EQ(outcome.result, Result::Done) << outcome.reason;
    EXPECT_EQ(second.text(), text);
    std::vector<Exclusion> here;
    std::vector<Exclusion> there;
    EXPECT_EQ(ExclusionStore(*first.database).list(here), "");
    EXPECT_EQ(ExclusionStore(*second.database).list(there), "");
    EXPECT_EQ(here, there);
    const std::vector<StoredSchedule> schedules = schedulesOf(second);
    ASSERT_EQ(schedules.size(), 3U);
    EXPECT_EQ(schedules[1].values, schedulesOf(first)[1].values);
    EXPECT_EQ(schedules[1].settled, kNow);
    // USB storage stays as it is on each machine.
    EXPECT_EQ(first.devicesBlocked(), 1);
    EXPECT_EQ(second.devicesBlocked(), 0);
    EXPECT_EQ(text.find("Blocked"), std::string::npos);
}

TEST(SettingsFile, OfTheLargestStoreCanBeImported)
{
    SettingsFile content;
    Store store;
    ASSERT_EQ(parseSettingsFile(store.text(), content), "");
    std::size_t room = ExclusionStore::kMostText;
    for (std::size_t entry = 0; entry < ExclusionStore::kMostEntries; ++entry) {
        std::string text = "/" + std::to_string(entry) + "/";
        text.resize(std::min<std::size_t>(room - 20 * (ExclusionStore::kMostEntries - entry), 4096),
                    'x');
        text.resize(std::max<std::size_t>(text.size(), 8), 'x');
        room -= text.size();
        content.exclusions.push_back({ExclusionKind::Location, text});
    }
    ASSERT_EQ(ExclusionStore::check(content.exclusions).code, ExclusionCode::Done);
    const std::string text = renderSettingsFile(content);
    EXPECT_LE(text.size(), kLargestSettingsFile);
    ASSERT_EQ(importSettings(*store.database, text, kNow).result, Result::Done);
    EXPECT_EQ(store.text(), text);
}

TEST(SettingsFile, MayBeWrittenByHand)
{
    Store first;
    Store second;
    changeAll(first);
    std::string text = first.text();
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2))
        text.insert(at, 1, '\r');
    text = replaced(text, "[Update]", "; from another computer\r\n# as of today\r\n\r\n[Update]");
    // Groups in any order.
    const std::size_t general = text.find("[General]");
    const std::size_t actions = text.find("[ScanActions]");
    text += text.substr(general, actions - general);
    text.erase(general, actions - general);
    const ImportOutcome outcome = importSettings(*second.database, text, kNow);
    ASSERT_EQ(outcome.result, Result::Done) << outcome.reason;
    EXPECT_EQ(second.text(), first.text());
}

TEST(SettingsFile, ThatIsNotWholeAndRightChangesNothing)
{
    Store source;
    changeAll(source);
    const std::string good = source.text();
    const std::string head = "[TALO Antivirus Settings]\nVersion=1\n";
    const std::string cases[] = {
        "",
        "\n",
        head,
        "Version=1\n" + good,
        good.substr(head.size()),
        good + "x",
        good + "Version=1\n",
        good + "[General]\n",
        good + "[TALO Antivirus Settings]\n",
        good + "[Nonsense]\n",
        good + "[DeviceControl]\nBlocked=1\n",
        good + "[Password]\nHash=x\n",
        good + "[Schedules\n",
        good + "Daily=1\n",
        good + "Schedule4=\n",
        good + "Schedule4=later\n",
        good + "Schedule4=later,1,501,8,1\n",
        good + "Schedule4=later,1,501,8,1,1,1\n",
        good + "Schedule4=later,1,501,8,1,1,\n",
        good + "Schedule4=later,1,501,8,1,01\n",
        good + "Schedule4=later,1,501,8,1,-1\n",
        good + "Schedule4=later,1,501,8,1,60\n",
        good + "Schedule4=later,1,501,8,24,1\n",
        good + "Schedule4=later,1,501,7,1,1\n",
        good + "Schedule4=later,1,502,8,1,1\n",
        good + "Schedule4=later,2,501,8,1,1\n",
        good + "Schedule4=later,4294967297,501,8,1,1\n",
        good + "Schedule4=later, 1,501,8,1,1\n",
        good + "Schedule4=la,1,501,8,1,1\n",
        good + "Schedule4=la ter,1,501,8,1,1\n",
        good + "Schedule4=Night,1,501,8,1,1\n",
        good + "Schedule4=later,1,501,8,0,0\n",
        good + "Schedule5=later,1,501,8,1,1\n",
        std::string(kLargestSettingsFile, ';') + "\n" + good,
        replaced(good, "Version=1", "Version=2"),
        replaced(good, "Version=1", "Version=99999999999999999999"),
        replaced(good, "Version=1", "Version=0"),
        replaced(good, "Version=1", "Version=-1"),
        replaced(good, "Version=1", "Version=01"),
        replaced(good, "Version=1", "Version= 1"),
        replaced(good, "Version=1", "Version"),
        replaced(good, "Version=1\n", "Version=1\nVersion=1\n"),
        replaced(good, "Version=1\n", ""),
        replaced(good, "ScanPacked=0\n", ""),
        replaced(good, "ScanPacked=0\n", "ScanPacked=0\nScanPacked=0\n"),
        replaced(good, "ScanPacked=0", "ScanPacked=2"),
        replaced(good, "ScanPacked=0", "ScanPacked=-0"),
        replaced(good, "ScanPacked=0", "ScanPacked=+0"),
        replaced(good, "ScanPacked=0", "ScanPacked=00"),
        replaced(good, "ScanPacked=0", "ScanPacked=0 "),
        replaced(good, "ScanPacked=0", "ScanPacked=0x0"),
        replaced(good, "ScanPacked=0", "ScanPacked="),
        replaced(good, "ScanPacked=0", "ScanPacked=4294967296"),
        replaced(good, "ScanPacked=0", "scanpacked=0"),
        replaced(good, "ScanPacked=0", "ScanPacked =0"),
        replaced(good, "ScanPacked=0", "On=0"),
        replaced(good, "ScanPacked=0", std::string("ScanPacked=0\0", 13)),
        replaced(good, "InfectedFirst=304", "InfectedFirst=300"),
        replaced(good, "InfectedSecond=302", "InfectedSecond=301"),
        replaced(good, "Frequency=0", "Frequency=4"),
        replaced(good, "\n[Firewall]\nOn=1\n", ""),
        replaced(good, "\n[Schedules]\n", ""),
        replaced(good, "Location1=", "Location2="),
        replaced(good, "Location1=", "Location0="),
        replaced(good, "Location1=", "Location="),
        replaced(good, "Location1=", "Location01="),
        replaced(good, "Location1=", "Place1="),
        replaced(good, "Location1=/", "Location1="),
        replaced(good, "Extension2=ISO", "Extension2=.ISO"),
        replaced(good, "Extension2=ISO", "Extension2="),
        replaced(good, "Extension2=ISO", "Extension2=\xc3\xa4"),
        replaced(good, "Extension2=ISO", "Extension2=\xff"),
        replaced(good, "Extension2=ISO", "Extension2=a,b"),
        replaced(good, "Extension2=ISO", "Extension2=a\x1b[2J"),
    };
    Store store;
    const std::string before = store.text();
    for (const std::string &text : cases) {
        const ImportOutcome outcome = importSettings(*store.database, text, kNow);
        EXPECT_EQ(outcome.result, Result::NotValid) << text.substr(0, 2000);
        EXPECT_NE(outcome.reason, "");
        EXPECT_EQ(store.text(), before);
    }
    ASSERT_EQ(importSettings(*store.database, good, kNow).result, Result::Done);
}

TEST(SettingsFile, ThatCannotBeStoredChangesNothing)
{
    Store source;
    changeAll(source);
    Store store;
    ASSERT_TRUE(execute(*store.database, "CREATE TRIGGER full BEFORE INSERT ON exclusion "
                                         "WHEN NEW.text = 'ISO' BEGIN SELECT RAISE(FAIL, 'full'); "
                                         "END"));
    const std::string before = store.text();
    const ImportOutcome outcome = importSettings(*store.database, source.text(), kNow);
    EXPECT_EQ(outcome.result, Result::Failed);
    EXPECT_TRUE(schedulesOf(store).empty());
    EXPECT_NE(outcome.reason.find("full"), std::string::npos) << outcome.reason;
    EXPECT_EQ(store.text(), before);
}

// Damage of every kind at random, always the same. Whatever is taken nevertheless must be a file
// that says exactly what is then in the store.
TEST(SettingsFile, SurvivesDamage)
{
    Store source;
    changeAll(source);
    const std::string good = source.text();
    Store store;
    std::string state = store.text();
    std::mt19937 random(20261121);
    const auto below = [&random](std::size_t bound) { return random() % bound; };
    const std::string pieces[] = {"[General]\n",
                                  "ScanPacked=1\n",
                                  "=",
                                  "\n",
                                  "[",
                                  "]",
                                  "99999999999",
                                  "Version=2\n",
                                  "Location1=/x\n",
                                  "Schedule1=some1,1,501,8,3,4\n",
                                  "Schedule4=later,3,502,2,9,59\n",
                                  ",",
                                  std::string(1, '\0'),
                                  "\xff\xfe",
                                  "\r",
                                  "[Schedules]\n",
                                  "[DeviceControl]\nBlocked=1\n",
                                  std::string(70000, 'A')};
    int taken = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = good;
        for (std::size_t change = 0; change <= below(4); ++change) {
            const std::size_t at = below(text.size() + 1);
            const std::size_t length = below(std::min<std::size_t>(text.size() - at, 60) + 1);
            switch (below(6)) {
            case 0:
                text.resize(at);
                break;
            case 1:
                text.erase(at, length);
                break;
            case 2:
                text.insert(at, text.substr(at, length));
                break;
            case 3:
                text.insert(at, pieces[below(std::size(pieces))]);
                break;
            case 4:
                if (at < text.size())
                    text[at] = static_cast<char>(below(256));
                break;
            default:
                if (at < text.size())
                    text[at] = static_cast<char>('0' + below(10));
            }
        }
        SettingsFile content;
        const std::string fault = parseSettingsFile(text, content);
        const ImportOutcome outcome = importSettings(*store.database, text, kNow);
        if (!fault.empty()) {
            ASSERT_EQ(outcome.result, Result::NotValid) << text;
            ASSERT_EQ(store.text(), state) << text;
            continue;
        }
        ++taken;
        ASSERT_EQ(outcome.result, Result::Done) << outcome.reason;
        state = store.text();
        ASSERT_EQ(state, renderSettingsFile(content)) << text;
        ASSERT_EQ(content.settings.size(), kSettings - 1);
        for (const auto &[setting, value] : content.settings)
            ASSERT_TRUE(inRange(rowOf(setting), value)) << text;
        ASSERT_EQ(ExclusionStore::check(content.exclusions).code, ExclusionCode::Done) << text;
        ASSERT_EQ(ScheduleStore::check(content.schedules), ScheduleCode::Done) << text;
        ASSERT_EQ(store.devicesBlocked(), 0) << text;
    }
    // The damage is neither so light that nothing is refused nor so heavy that nothing is read.
    EXPECT_GT(taken, 200);
    EXPECT_LT(taken, 10000);
}

} // namespace talo::store
