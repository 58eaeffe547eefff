#include "store/exclusionstore.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"
#include "store/statement.h"

#include <gtest/gtest.h>

namespace talo::store
{

namespace
{

Exclusion location(std::string text)
{
    return {ExclusionKind::Location, std::move(text)};
}

Exclusion extension(std::string text)
{
    return {ExclusionKind::Extension, std::move(text)};
}

class Exclusions : public testing::Test
{
protected:
    void SetUp() override { reopen(); }

    void reopen()
    {
        exclusions.reset();
        database.reset();
        std::string failure;
        database = Database::open(place.path(), failure);
        ASSERT_NE(database, nullptr) << failure;
        exclusions = std::make_unique<ExclusionStore>(*database);
    }

    int add(const Exclusion &entry) { return static_cast<int>(exclusions->add(entry).code); }
    int remove(const Exclusion &entry) { return static_cast<int>(exclusions->remove(entry).code); }

    std::vector<Exclusion> list()
    {
        std::vector<Exclusion> entries;
        EXPECT_EQ(exclusions->list(entries), "");
        return entries;
    }

    bool fill(const std::vector<Exclusion> &entries)
    {
        Transaction change(*database);
        return ExclusionStore::write(*database, entries) && change.commit();
    }

    TemporaryFolder place;
    std::unique_ptr<Database> database;
    std::unique_ptr<ExclusionStore> exclusions;
};

} // namespace

TEST_F(Exclusions, StayInTheOrderOfEntry)
{
    const std::vector<Exclusion> entries{location("/srv"), extension("iso"), location("/a"),
                                         extension("ISO2"), location("/home/ä ö/x ")};
    for (const Exclusion &entry : entries)
        EXPECT_EQ(add(entry), 0) << entry.text;
    reopen();
    EXPECT_EQ(list(), entries);
    // One that comes back comes last.
    EXPECT_EQ(remove(entries[0]), 0);
    EXPECT_EQ(remove(entries[4]), 0);
    EXPECT_EQ(add(entries[0]), 0);
    EXPECT_EQ(list(), (std::vector<Exclusion>{entries[1], entries[2], entries[3], entries[0]}));
}

TEST_F(Exclusions, AreRefusedByTheirText)
{
    const std::string longest = "/" + std::string(4095, 'x');
    const std::pair<Exclusion, int> cases[] = {
        {extension(".iso"), 701},
        {extension("tar.gz"), 701},
        {extension(" iso"), 701},
        {extension("iso "), 701},
        {extension("a b"), 701},
        {extension(" ,"), 701},
        {extension(""), 703},
        {extension("a,b"), 703},
        {extension("a\tb"), 703},
        {extension(std::string("a\0b", 3)), 703},
        {extension(std::string(4097, 'x')), 703},
        {extension("\xff"), 703},
        {extension("\xc3"), 703},
        {extension("\xc0\x80"), 703},
        {extension("\xed\xa0\x80"), 703},
        {extension("\xf4\x90\x80\x80"), 703},
        {extension("\xf5\x80\x80\x80"), 703},
        {extension("\xe0\x80\x80"), 703},
        {extension("\xc2\x85"), 703},
        {extension("\x7f"), 703},
        {location(""), 703},
        {location("srv"), 703},
        {location(" /srv"), 703},
        {location("/srv,/home"), 703},
        {location("/srv\n"), 703},
        {location(longest + "x"), 703},
        {extension("iso"), 0},
        {extension("\xf0\x9f\x98\x80"), 0},
        {extension(std::string(4096, 'x')), 0},
        {location("/"), 0},
        {location("/srv/a.b c"), 0},
        {location(longest), 0},
        {location("/';DROP TABLE exclusion;--"), 0},
    };
    std::size_t there = 0;
    for (const auto &[entry, code] : cases) {
        EXPECT_EQ(add(entry), code) << entry.text.substr(0, 40);
        there += code == 0 ? 1 : 0;
    }
    EXPECT_EQ(list().size(), there);
}

TEST_F(Exclusions, ThatMeanTheSameAreThereOnce)
{
    EXPECT_EQ(add(extension("Iso")), 0);
    EXPECT_EQ(add(extension("iSO")), 702);
    EXPECT_EQ(add(location("/srv/data/")), 0);
    for (const char *same : {"/srv/data", "/srv/data//", "//srv/./data", "/srv/data/."})
        EXPECT_EQ(add(location(same)), 702) << same;
    for (const char *other : {"/srv/Data", "/srv", "/srv/data/..", "/srv/data2"})
        EXPECT_EQ(add(location(other)), 0) << other;
    EXPECT_EQ(add(location("/")), 0);
    EXPECT_EQ(add(location("//")), 702);
    // The one text can be both.
    EXPECT_EQ(add(extension("/x")), 0);
    EXPECT_EQ(add(location("/x")), 0);
}

TEST_F(Exclusions, AreRemovedByExactlyTheirText)
{
    add(extension("Iso"));
    add(location("/srv/"));
    for (const Exclusion &other : {extension("iso"), location("/srv"), location("Iso"),
                                   extension("/srv/"), location(""), location("%")})
        EXPECT_EQ(remove(other), 705) << other.text;
    EXPECT_EQ(remove(extension("Iso")), 0);
    EXPECT_EQ(remove(extension("Iso")), 705);
    EXPECT_EQ(list(), std::vector<Exclusion>{location("/srv/")});
}

TEST_F(Exclusions, AreLimitedInNumber)
{
    std::vector<Exclusion> entries;
    for (std::size_t entry = 0; entry < ExclusionStore::kMostEntries; ++entry)
        entries.push_back(location("/srv/" + std::to_string(entry)));
    ASSERT_EQ(ExclusionStore::check(entries).code, ExclusionCode::Done);
    ASSERT_TRUE(fill(entries));
    EXPECT_EQ(list(), entries);
    EXPECT_EQ(add(location("/one/more")), 704);
    EXPECT_EQ(add(entries[0]), 702);
    entries.push_back(location("/one/more"));
    EXPECT_EQ(ExclusionStore::check(entries).code, ExclusionCode::Refused);
    EXPECT_EQ(remove(entries[7]), 0);
    EXPECT_EQ(add(location("/one/more")), 0);
}

TEST_F(Exclusions, AreLimitedInText)
{
    std::vector<Exclusion> entries;
    for (int entry = 0; entry < 768; ++entry) {
        std::string text = "/" + std::to_string(entry) + "/";
        text.resize(4096, 'x');
        entries.push_back(location(text));
    }
    ASSERT_EQ(ExclusionStore::check(entries).code, ExclusionCode::Done);
    ASSERT_TRUE(fill(entries));
    const auto full = exclusions->add(extension("x"));
    EXPECT_EQ(full.code, ExclusionCode::Refused);
    EXPECT_NE(full.reason, "");
    entries.push_back(extension("x"));
    EXPECT_EQ(ExclusionStore::check(entries).code, ExclusionCode::Refused);
}

TEST_F(Exclusions, ThatCannotBeStoredAreRefusedWithTheReason)
{
    ASSERT_TRUE(execute(*database, "DROP TABLE exclusion"));
    EXPECT_EQ(add(location("/srv")), 704);
    EXPECT_EQ(remove(location("/srv")), 704);
    std::vector<Exclusion> entries;
    EXPECT_NE(exclusions->list(entries), "");
}

} // namespace talo::store
