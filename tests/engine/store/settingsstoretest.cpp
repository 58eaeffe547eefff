#include "store/settingsstore.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"
#include "store/statement.h"

#include <gtest/gtest.h>

namespace talo::store
{

namespace
{

class Settings : public testing::Test
{
protected:
    void SetUp() override { reopen(); }

    void reopen()
    {
        settings.reset();
        database.reset();
        std::string failure;
        database = Database::open(place.path(), failure);
        ASSERT_NE(database, nullptr) << failure;
        settings = std::make_unique<SettingsStore>(*database);
    }

    SettingValues values() const
    {
        SettingValues read;
        EXPECT_EQ(settings->read(read), "");
        return read;
    }

    TemporaryFolder place;
    std::unique_ptr<Database> database;
    std::unique_ptr<SettingsStore> settings;
};

} // namespace

TEST_F(Settings, OfANewInstallationAreTheDefaultsButForTheFirewall)
{
    const SettingValues now = values();
    const std::pair<Setting, int> expected[] = {
        {Setting::ScanPacked, 1},       {Setting::ScanArchives, 1},
        {Setting::InfectedFirst, 301},  {Setting::InfectedSecond, 303},
        {Setting::SuspectedFirst, 304}, {Setting::SuspectedSecond, 304},
        {Setting::HiddenFirst, 301},    {Setting::HiddenSecond, 303},
        {Setting::ScanOnArrival, 1},    {Setting::FirewallOn, 0},
        {Setting::AutomaticUpdate, 1},  {Setting::UpdateFrequency, 2},
        {Setting::DevicesBlocked, 0},
    };
    static_assert(std::size(expected) == kSettings);
    for (const auto &[setting, value] : expected)
        EXPECT_EQ(now[setting], value) << rowOf(setting).key;
    ASSERT_EQ(settings->applyDefault(Group::Firewall).result, SettingsStore::Result::Done);
    EXPECT_EQ(values()[Setting::FirewallOn], 1);
}

TEST_F(Settings, TakeEveryValueOfTheirRangeAndKeepItAndNoOther)
{
    for (const SettingRow &row : kTable) {
        for (std::int64_t value = row.least; value <= row.most; ++value) {
            ASSERT_EQ(settings->apply({{row.setting, value}}).result, SettingsStore::Result::Done);
            reopen();
            EXPECT_EQ(values()[row.setting], value) << row.key;
        }
        for (const std::int64_t value : {std::int64_t{row.least} - 1, std::int64_t{row.most} + 1,
                                         std::int64_t{1} << 32, std::int64_t{-1}}) {
            const auto outcome = settings->apply({{row.setting, value}});
            EXPECT_EQ(outcome.result, SettingsStore::Result::OutOfRange) << row.key << value;
            EXPECT_NE(outcome.reason.find(row.key), std::string::npos) << outcome.reason;
            EXPECT_EQ(values()[row.setting], row.most) << row.key;
        }
    }
}

TEST_F(Settings, ChangeAllTogetherOrNotAtAll)
{
    const auto outcome = settings->apply(
        {{Setting::ScanPacked, 0}, {Setting::InfectedFirst, 303}, {Setting::InfectedSecond, 301}});
    EXPECT_EQ(outcome.result, SettingsStore::Result::OutOfRange);
    EXPECT_EQ(values()[Setting::ScanPacked], 1);
    EXPECT_EQ(values()[Setting::InfectedFirst], 301);
}

TEST_F(Settings, GetTheDefaultsOfOneGroupOnly)
{
    settings->apply({{Setting::ScanPacked, 0}, {Setting::UpdateFrequency, 0}});
    ASSERT_EQ(settings->applyDefault(Group::Update).result, SettingsStore::Result::Done);
    EXPECT_EQ(values()[Setting::UpdateFrequency], 2);
    EXPECT_EQ(values()[Setting::ScanPacked], 0);
}

TEST_F(Settings, ThatCannotBeIsReadAsInANewInstallation)
{
    ASSERT_TRUE(execute(*database, "INSERT INTO setting VALUES ('Update/Frequency', 9), "
                                   "('Update/Automatic', 0), ('Nonsense/Key', 1)"));
    EXPECT_EQ(values()[Setting::UpdateFrequency], 2);
    EXPECT_EQ(values()[Setting::AutomaticUpdate], 0);
}

TEST_F(Settings, ThatCannotBeReadOrWrittenSayWhy)
{
    ASSERT_TRUE(execute(*database, "DROP TABLE setting"));
    SettingValues read;
    EXPECT_NE(settings->read(read).find("cannot be read"), std::string::npos);
    EXPECT_EQ(read[Setting::ScanPacked], 1);
    const auto outcome = settings->apply({{Setting::ScanPacked, 0}});
    EXPECT_EQ(outcome.result, SettingsStore::Result::Failed);
    EXPECT_NE(outcome.reason.find("cannot be stored"), std::string::npos) << outcome.reason;
}

TEST(SettingsTable, IsLookedUpByNames)
{
    for (const GroupRow &row : kGroups) {
        EXPECT_EQ(groupNamed(row.name), row.group);
        EXPECT_EQ(nameOf(row.group), row.name);
    }
    EXPECT_EQ(groupNamed("general"), std::nullopt);
    for (const SettingRow &row : kTable)
        EXPECT_EQ(findSetting(row.group, row.key), &row);
    EXPECT_EQ(findSetting(Group::General, "Frequency"), nullptr);
}

} // namespace talo::store
