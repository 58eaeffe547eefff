// The search for duplicates and their deletion as the panel calls them.
#include "engine/files/sandbox.h"
#include "engine/libduplicatefinder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

using namespace talo::test;

namespace
{

using Result = std::map<std::string, std::list<std::string>>;

std::atomic<int> told{0};
std::string lastTold;

void note(char *path)
{
    ++told;
    lastTold = path;
}

class Duplicates : public testing::Test
{
protected:
    ~Duplicates() override { libDuplicateFinder::register_callback(nullptr); }

    void write(const std::string &name, const std::string &content, time_t seconds)
    {
        writeFile(folder_ / name, content);
        const struct timespec times[] = {{seconds, 0}, {seconds, 0}};
        utimensat(AT_FDCWD, (folder_ / name).c_str(), times, 0);
    }
    void writeGroups()
    {
        write("old.jpg", std::string(4200, 'p'), 100);
        write("new.jpg", std::string(4200, 'p'), 300);
        write("mid.jpg", std::string(4200, 'p'), 200);
        write("a.txt", "text", 100);
        write("b.txt", "text", 200);
        write("single", "alone", 100);
    }
    int search() { return search(folder_.path()); }
    int search(const std::string &path)
    {
        return libDuplicateFinder::DuplicateFinder(path, result_, 1, &count_, &bytes_);
    }
    int remove(const std::list<std::string> &files)
    {
        return libDuplicateFinder::DeleteDuplicateFiles(files, result_, &deleted_);
    }
    std::list<std::string> paths(const std::list<std::string> &names) const
    {
        std::list<std::string> full;
        for (const std::string &name : names)
            full.push_back(folder_ / name);
        return full;
    }
    std::list<std::string> everyPath() const
    {
        std::list<std::string> all;
        for (const auto &group : result_)
            all.insert(all.end(), group.second.begin(), group.second.end());
        return all;
    }

    TempFolder folder_;
    Result result_;
    long long count_ = -1;
    long long bytes_ = -1;
    int deleted_ = -1;
};

} // namespace

TEST_F(Duplicates, AreListedWithReadableKeys)
{
    writeGroups();
    libDuplicateFinder::register_callback(note);
    EXPECT_EQ(search(), 810);
    EXPECT_EQ(result_, (Result{{"0001  old.jpg  3 copies of 4.2 KB",
                                paths({"old.jpg", "mid.jpg", "new.jpg"})},
                               {"0002  a.txt  2 copies of 4 bytes", paths({"a.txt", "b.txt"})}}));
    EXPECT_EQ(count_, 3);
    EXPECT_EQ(bytes_, 2 * 4200 + 4);
    EXPECT_GE(told, 1);
    EXPECT_EQ(lastTold.rfind(folder_.path(), 0), 0u);
}

TEST_F(Duplicates, ThatAreNotThereAreACodeOfTheirOwn)
{
    result_["left over"] = {"x"};
    write("one", "text", 1);
    EXPECT_EQ(search(), 801);
    EXPECT_TRUE(result_.empty());
    EXPECT_EQ(count_, 0);
    EXPECT_EQ(bytes_, 0);
    result_["left over"] = {"x"};
    EXPECT_EQ(search(folder_ / "none"), 804);
    EXPECT_EQ(search(folder_ / "one"), 804);
    EXPECT_EQ(search(""), 804);
    EXPECT_TRUE(result_.empty());
    EXPECT_EQ(libDuplicateFinder::DuplicateFinder(folder_.path(), result_, 1, nullptr, nullptr),
              801);
}

TEST_F(Duplicates, GoButForTheFirstWhereAllAreTicked)
{
    writeGroups();
    ASSERT_EQ(search(), 810);
    EXPECT_EQ(remove(everyPath()), 811);
    EXPECT_EQ(deleted_, 3);
    EXPECT_TRUE(result_.empty());
    EXPECT_TRUE(exists(folder_ / "old.jpg"));
    EXPECT_TRUE(exists(folder_ / "a.txt"));
    EXPECT_TRUE(exists(folder_ / "single"));
    EXPECT_EQ(search(), 801);
}

TEST_F(Duplicates, LeaveTheResultOneByOne)
{
    writeGroups();
    ASSERT_EQ(search(), 810);
    EXPECT_EQ(remove({}), 803);
    EXPECT_EQ(deleted_, 0);
    EXPECT_EQ(remove(paths({"old.jpg"})), 811);
    EXPECT_EQ(deleted_, 1);
    EXPECT_EQ(result_, (Result{{"0001  old.jpg  3 copies of 4.2 KB", paths({"mid.jpg", "new.jpg"})},
                               {"0002  a.txt  2 copies of 4 bytes", paths({"a.txt", "b.txt"})}}));
    EXPECT_EQ(remove(paths({"b.txt", "mid.jpg"})), 811);
    EXPECT_EQ(deleted_, 2);
    EXPECT_TRUE(result_.empty());
}

TEST_F(Duplicates, ThatChangedOrAreNotListedStay)
{
    writeGroups();
    ASSERT_EQ(search(), 810);
    writeFile(folder_ / "new.jpg", std::string(4200, 'q'));
    const Result before = result_;
    EXPECT_EQ(remove(paths({"new.jpg", "single"})), 802);
    EXPECT_EQ(deleted_, 0);
    EXPECT_EQ(result_, before);
    EXPECT_EQ(remove(paths({"new.jpg", "mid.jpg"})), 802);
    EXPECT_EQ(deleted_, 1);
    EXPECT_FALSE(exists(folder_ / "mid.jpg"));
    EXPECT_EQ(readFile(folder_ / "new.jpg"), std::string(4200, 'q'));
}

// Changed and given back its content: no longer what the person saw, and not worth the risk.
TEST_F(Duplicates, ThatWereTouchedSinceTheSearchStay)
{
    writeGroups();
    ASSERT_EQ(search(), 810);
    write("b.txt", "text", 200);
    EXPECT_EQ(remove(paths({"b.txt"})), 802);
    EXPECT_TRUE(exists(folder_ / "b.txt"));
}

TEST_F(Duplicates, WithNamesThatAreNoTextAreEscapedAndCanBeDeleted)
{
    const std::string strange = "caf\xE9";
    write(strange, "text", 100);
    write("plain\\x", "text", 50);
    ASSERT_EQ(search(), 810);
    EXPECT_EQ(result_.begin()->second, paths({"plain\\x", "caf\\xE9"}));
    EXPECT_EQ(remove(paths({"caf\\xE9"})), 811);
    EXPECT_FALSE(exists(folder_ / strange));
    EXPECT_TRUE(exists(folder_ / "plain\\x"));
}

TEST_F(Duplicates, WhoseEscapedNameIsAnotherFilesNameAreLeftOut)
{
    write("caf\xE9", "text", 100);
    write("caf\\xE9", "text", 200);
    write("third", "text", 300);
    ASSERT_EQ(search(), 810);
    EXPECT_EQ(result_.begin()->second, paths({"caf\\xE9", "third"}));
    EXPECT_EQ(count_, 1);
    EXPECT_EQ(remove(paths({"caf\\xE9"})), 811);
    EXPECT_TRUE(exists(folder_ / "caf\xE9"));
    EXPECT_FALSE(exists(folder_ / "caf\\xE9"));
}
