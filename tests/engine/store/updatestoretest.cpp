#include "store/updatestore.h"

#include "engine/store/temporaryfolder.h"
#include "store/database.h"

#include <gtest/gtest.h>

namespace talo::store
{

TEST(UpdateStore, RemembersEachKindOverARestart)
{
    const TemporaryFolder folder;
    std::string failure;
    UpdateRecord record;
    {
        const auto database = Database::open(folder.file("state"), failure);
        ASSERT_NE(database, nullptr) << failure;
        UpdateStore store(*database);
        ASSERT_EQ(store.read(UpdateStore::Kind::Signatures, record), "");
        EXPECT_EQ(record.attempted, 0);
        EXPECT_EQ(record.status, -1);
        for (const int status : {2, 8})
            ASSERT_EQ(store.write(UpdateStore::Kind::Signatures,
                                  {1795266309, 1795266000, status, "it's \"why\"", 3, 1795269999}),
                      "");
    }
    const auto database = Database::open(folder.file("state"), failure);
    ASSERT_NE(database, nullptr) << failure;
    UpdateStore store(*database);
    ASSERT_EQ(store.read(UpdateStore::Kind::Signatures, record), "");
    EXPECT_EQ(record.attempted, 1795266309);
    EXPECT_EQ(record.succeeded, 1795266000);
    EXPECT_EQ(record.status, 8);
    EXPECT_EQ(record.detail, "it's \"why\"");
    EXPECT_EQ(record.failures, 3U);
    EXPECT_EQ(record.notBefore, 1795269999);
    ASSERT_EQ(store.read(UpdateStore::Kind::Program, record), "");
    EXPECT_EQ(record.status, -1);
}

} // namespace talo::store
