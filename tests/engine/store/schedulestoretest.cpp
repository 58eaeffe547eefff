#include "store/schedulestore.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"
#include "store/statement.h"

#include <gtest/gtest.h>

namespace talo::store
{

namespace
{

constexpr std::int64_t kNow = 1763733909;

ScheduleValues daily(std::string name, int hour = 3, int minute = 0, int type = 1)
{
    return {std::move(name), type, 501, 8, hour, minute};
}

ScheduleValues weekly(std::string name, int weekday, int hour = 3, int minute = 0, int type = 1)
{
    return {std::move(name), type, 502, weekday, hour, minute};
}

class Schedules : public testing::Test
{
protected:
    void SetUp() override { reopen(); }

    void reopen()
    {
        schedules.reset();
        database.reset();
        std::string failure;
        database = Database::open(place.path(), failure);
        ASSERT_NE(database, nullptr) << failure;
        schedules = std::make_unique<ScheduleStore>(*database);
    }

    int add(const ScheduleValues &values)
    {
        return static_cast<int>(schedules->add(values, kNow).code);
    }
    int edit(const std::string &name, const ScheduleValues &values)
    {
        return static_cast<int>(schedules->edit(name, values, kNow + 60).code);
    }
    int remove(const std::string &name) { return static_cast<int>(schedules->remove(name).code); }

    std::vector<StoredSchedule> list()
    {
        std::vector<StoredSchedule> stored;
        EXPECT_EQ(schedules->list(stored), "");
        return stored;
    }
    std::string names()
    {
        std::string all;
        for (const StoredSchedule &schedule : list())
            all += schedule.values.name + ' ';
        return all;
    }

    TemporaryFolder place;
    std::unique_ptr<Database> database;
    std::unique_ptr<ScheduleStore> schedules;
};

} // namespace

TEST_F(Schedules, StayAsTheyWereEntered)
{
    const ScheduleValues all[] = {daily("Night"), weekly("sunday", 0), weekly("Wed1", 3, 14, 5, 3),
                                  daily("all\xc3\xa4", 23, 59, 3)};
    for (const ScheduleValues &values : all)
        EXPECT_EQ(add(values), 0) << values.name;
    reopen();
    const std::vector<StoredSchedule> stored = list();
    ASSERT_EQ(stored.size(), std::size(all));
    for (std::size_t at = 0; at < stored.size(); ++at) {
        EXPECT_EQ(stored[at].values, all[at]);
        EXPECT_EQ(stored[at].settled, kNow);
    }
    ScheduleValues found;
    EXPECT_EQ(schedules->find("wED1", found).code, ScheduleCode::Done);
    EXPECT_EQ(found, all[2]);
    EXPECT_EQ(schedules->find("wed", found).code, ScheduleCode::NoSuchSchedule);
    EXPECT_EQ(schedules->find("\xff", found).code, ScheduleCode::NoSuchSchedule);
    EXPECT_EQ(found, all[2]);
}

TEST_F(Schedules, HaveNamesOfEveryScript)
{
    const std::pair<std::string, int> cases[] = {
        {"scan", 0},
        {"12345678", 0},
        {"N\xc3\xa4"
         "chte",
         0},
        {"\xd0\xbd\xd0\xbe\xd1\x87\xd1\x8c", 0},                 // Cyrillic
        {"\xe6\xaf\x8e\xe6\x97\xa5\xe6\xa4\x9c\xe6\x9f\xbb", 0}, // Han
        {"\xd9\x81\xd8\xad\xd8\xb5\xd9\xa1", 0},                 // Arabic with a digit
        {"\xe0\xa4\xb9\xe0\xa4\xbf\xe0\xa4\xa8\xe0\xa5\x8d\xe0\xa4\xa6\xe0\xa5\x80",
         0},                                                                     // vowel signs
        {"\xf0\x90\x90\xa8\xf0\x90\x90\xa9\xf0\x90\x90\xaa\xf0\x90\x90\xab", 0}, // beyond 16 bits
        {"abc", 606},
        {"abcdefghi", 606},
        {"", 606},
        {"\xe6\xaf\x8e\xe6\x97\xa5\xe6\xa4\x9c", 606}, // nine bytes, three characters
        {"my scan", 605},
        {" scan", 605},
        {"scan ", 605},
        {"a-b", 605},
        {"sc,an", 605},
        {"sc#an", 605},
        {"scan_1", 605},
        {"sc\tan", 605},
        {std::string("sc\0an", 5), 605},
        {"\xff\xff\xff\xff", 605},
        {"scan\xc3", 605},
        {"sca\xed\xa0\x80n", 605},
        {"\xe2\x82\xac"
         "uro",
         605},
        {"\xf0\x9f\x94\x92lock", 605},
        {"scan\xe2\x80\x8b", 605}, // a space that nobody sees
        {"scan\xe3\x85\xa4", 605}, // a letter that nobody sees
        {"scan\xef\xb8\x8f", 605}, // a mark that nobody sees
        {"\xcc\x88scan", 605},     // a mark without its letter
        {"scan\xc2\xb2", 605},     // not a digit
    };
    for (const auto &[name, code] : cases) {
        EXPECT_EQ(add(daily(name)), code) << name;
        remove(name);
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(Schedules, AreOneWhateverTheCase)
{
    const std::pair<std::string, std::string> same[] = {
        {"Night", "nIGHT"},
        {"\xc3\x84rger", "\xc3\xa4RGER"},
        {"\xd0\x9d\xd0\x9e\xd0\xa7\xd0\xac", "\xd0\xbd\xd0\xbe\xd1\x87\xd1\x8c"},
        {"stra\xc3\x9f"
         "e",
         "STRASSE"},
        {"\xc3\x84rger", "A\xcc\x88rger"}, // with the dots apart
    };
    for (const auto &[one, other] : same) {
        EXPECT_EQ(add(daily(one)), 0);
        EXPECT_EQ(add(weekly(other, 2)), 602) << other;
        EXPECT_EQ(edit(other, weekly(other, 2)), 0) << other;
        EXPECT_EQ(names(), other + ' ');
        EXPECT_EQ(remove(one), 0);
    }
}

// What is wrong in more than one way is refused by the first of the codes.
TEST_F(Schedules, AreRefusedInOrder)
{
    ASSERT_EQ(add(daily("first")), 0);
    ASSERT_EQ(add(weekly("other", 4)), 0);
    const std::pair<ScheduleValues, int> cases[] = {
        {{"a b", 9, 9, 9, 99, 99}, 605},
        {{"abc", 9, 9, 9, 99, 99}, 606},
        {{"OTHER", 9, 9, 9, 99, 99}, 602},
        {daily("OTHER"), 602},
        {daily("third"), 603},
        {weekly("third", 4), 603},
        {{"third", 0, 501, 8, 3, 1}, 607},
        {{"third", 2, 501, 8, 3, 1}, 607},
        {{"third", 1, 500, 8, 3, 0}, 607},
        {{"third", 1, 503, 8, 3, 0}, 607},
        {{"third", 1, 501, 4, 3, 1}, 607},
        {{"third", 1, 502, 8, 3, 1}, 607},
        {{"third", 1, 502, 7, 3, 1}, 607},
        {{"third", 1, 502, -1, 3, 1}, 607},
        {{"third", 1, 501, 8, 24, 0}, 607},
        {{"third", 1, 501, 8, -1, 0}, 607},
        {{"third", 1, 501, 8, 3, 60}, 607},
        {{"third", 1, 501, 8, 3, -1}, 607},
    };
    for (const auto &[values, code] : cases) {
        EXPECT_EQ(add(values), code) << values.name;
        // The same for an edit, of one that is there and one that is not.
        const bool taken = code == 602;
        EXPECT_EQ(edit(taken ? "first" : "nobody", values), code) << values.name;
    }
    EXPECT_EQ(edit("nobody", daily("third", 4)), 604);
    EXPECT_EQ(remove("nobody"), 604);
    EXPECT_EQ(remove(""), 604);
    // The same times but for one part are others.
    EXPECT_EQ(add(daily("third", 3, 0, 3)), 0);
    EXPECT_EQ(add(daily("fourth", 3, 1)), 0);
    EXPECT_EQ(add(weekly("fifth", 5)), 0);
    EXPECT_EQ(names(), "first other third fourth fifth ");
}

TEST_F(Schedules, KeepTheirPlaceWhenEdited)
{
    ASSERT_EQ(add(daily("first")), 0);
    ASSERT_EQ(add(daily("other", 4)), 0);
    EXPECT_EQ(edit("first", daily("first", 4)), 603);
    EXPECT_EQ(edit("first", daily("Other", 5)), 602);
    EXPECT_EQ(edit("first", daily("FIRST")), 0);
    // Another name is no reason to run again, or not to.
    EXPECT_EQ(list()[0].settled, kNow);
    EXPECT_EQ(edit("FIRST", daily("again", 3, 30)), 0);
    EXPECT_EQ(list()[0].settled, kNow + 60);
    EXPECT_EQ(edit("again", daily("again", 3, 30, 3)), 0);
    EXPECT_EQ(names(), "again other ");
    EXPECT_EQ(list()[0].values.type, 3);
}

TEST_F(Schedules, RememberTheirRun)
{
    ASSERT_EQ(add(daily("first")), 0);
    const std::int64_t id = list()[0].id;
    EXPECT_EQ(schedules->settle(id, kNow + 5), "");
    reopen();
    EXPECT_EQ(list()[0].settled, kNow + 5);
    // One that comes after it is not taken for it.
    EXPECT_EQ(remove("first"), 0);
    EXPECT_EQ(schedules->settle(id, kNow + 9), "");
    EXPECT_EQ(add(daily("first")), 0);
    EXPECT_NE(list()[0].id, id);
}

TEST_F(Schedules, AreRefusedWithoutRoom)
{
    {
        Transaction change(*database);
        std::vector<ScheduleValues> many;
        for (int number = 0; number < 1000; ++number)
            many.push_back(daily("many" + std::to_string(number), number / 60, number % 60));
        ASSERT_EQ(ScheduleStore::check(many), ScheduleCode::Done);
        ASSERT_TRUE(ScheduleStore::write(*database, many, kNow) && change.commit());
        many.push_back(daily("onemore", 23, 59));
        EXPECT_EQ(ScheduleStore::check(many), ScheduleCode::Refused);
    }
    const auto full = schedules->add(daily("onemore", 23, 59), kNow);
    EXPECT_EQ(full.code, ScheduleCode::Refused);
    EXPECT_NE(full.reason, "");
    EXPECT_EQ(edit("many7", daily("onemore", 23, 59)), 0);
}

TEST_F(Schedules, SayWhyTheyCannotBeStored)
{
    ASSERT_EQ(add(daily("first")), 0);
    ASSERT_TRUE(execute(*database, "PRAGMA query_only = 1"));
    for (const auto &outcome :
         {schedules->add(daily("other", 4), kNow),
          schedules->edit("first", daily("other", 4), kNow), schedules->remove("first")}) {
        EXPECT_EQ(outcome.code, ScheduleCode::Refused);
        EXPECT_NE(outcome.reason.find("readonly"), std::string::npos) << outcome.reason;
    }
    EXPECT_NE(schedules->settle(list()[0].id, 1), "");
    EXPECT_EQ(names(), "first ");
    ASSERT_TRUE(execute(*database, "PRAGMA query_only = 0"));
}

} // namespace talo::store
