// What is blocked, what is left alone, and what is written to sysfs for it.
#include "engine/files/sandbox.h"
#include "engine/guard/usbtree.h"
#include "files/uniquefd.h"
#include "guard/usbstorage.h"
#include "guard/usbwatch.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

using namespace talo;
using namespace talo::test;
using guard::UsbPlaces;
using guard::UsbStorage;

namespace
{

class UsbStorageTest : public testing::Test
{
protected:
    void SetUp() override
    {
        tree_ = std::make_unique<UsbTree>();
        // Given to the test by its entry in CTest.
        ASSERT_TRUE(umockdev_in_mock_environment()) << "preload libumockdev-preload.so.0";
        places_.sysfs = tree_->sysfs();
        places_.mounts = folder_ / "mounts";
        places_.swaps = folder_ / "swaps";
        places_.flag = folder_ / "etc/blocked";
        places_.rules = {folder_ / "rule"};
        writeFile(places_.mounts, "");
        writeFile(places_.swaps, "Filename Type Size Used Priority\n");
    }

    UsbStorage storage() const { return UsbStorage(places_); }
    std::string authorized(const std::string &interface) const
    {
        return tree_->value(interface, "authorized");
    }
    void mounted(const std::string &line) const { writeFile(places_.mounts, line + "\n"); }

    TempFolder folder_;
    std::unique_ptr<UsbTree> tree_;
    UsbPlaces places_;
};

TEST_F(UsbStorageTest, BlocksAStickAndAllowsItAgain)
{
    const std::string stick = tree_->addStick("1-1");
    EXPECT_EQ(storage().state().open, 1U);
    const auto blocked = storage().block();
    EXPECT_EQ(blocked.failure, "");
    EXPECT_EQ(blocked.done, std::vector<std::string>{"USB storage \"Stick\" (1-1:1.0) is blocked"});
    EXPECT_TRUE(blocked.refused.empty());
    EXPECT_EQ(authorized(stick), "0");
    EXPECT_TRUE(exists(places_.flag));
    EXPECT_TRUE(storage().state().flag);
    EXPECT_EQ(storage().state().blocked, 1U);
    EXPECT_EQ(storage().state().open, 0U);
    // Nothing is left to do.
    EXPECT_TRUE(storage().sweep().done.empty());

    const auto allowed = storage().allow();
    EXPECT_EQ(allowed.done.size(), 1U);
    EXPECT_TRUE(allowed.refused.empty());
    EXPECT_EQ(authorized(stick), "1");
    EXPECT_EQ(tree_->probed(), "1-1:1.0");
    EXPECT_FALSE(exists(places_.flag));
    EXPECT_TRUE(std::filesystem::is_empty(folder_ / "etc"));
}

TEST_F(UsbStorageTest, BlocksAStickBehindAHub)
{
    const std::string hub = tree_->addDevice("1-1", "Hub");
    const std::string hubInterface = tree_->addInterface("1-1:1.0", hub, kHub);
    const std::string stick = tree_->addStick("1-1.4", hub);
    storage().block();
    EXPECT_EQ(authorized(stick), "0");
    EXPECT_EQ(authorized(hubInterface), "1");
    EXPECT_EQ(authorized(hub), "1");
}

TEST_F(UsbStorageTest, LeavesTheKeyboardOfACompositeDevice)
{
    const std::string device = tree_->addDevice("1-2", "Keyboard with a stick");
    const std::string keyboard = tree_->addInterface("1-2:1.0", device, kHid);
    const std::string stick = tree_->addInterface("1-2:1.1", device, kStorage);
    EXPECT_EQ(storage().block().done.size(), 1U);
    EXPECT_EQ(authorized(stick), "0");
    EXPECT_EQ(authorized(keyboard), "1");
    EXPECT_EQ(authorized(device), "1");
    storage().allow();
    EXPECT_EQ(authorized(stick), "1");
}

// It speaks another protocol than a drive and is not of the storage class: it stays connected.
TEST_F(UsbStorageTest, LeavesAPhone)
{
    const std::string phone =
        tree_->addInterface("1-3:1.0", tree_->addDevice("1-3", "Phone"), kImage);
    const auto outcome = storage().block();
    EXPECT_TRUE(outcome.done.empty() && outcome.refused.empty());
    EXPECT_EQ(authorized(phone), "1");
    EXPECT_EQ(storage().state().open, 0U);
}

TEST_F(UsbStorageTest, TakesBackOnlyWhatItDid)
{
    const std::string stick = tree_->addStick("1-1");
    writeFile(tree_->sysfs() + stick.substr(4) + "/authorized", "0");
    EXPECT_TRUE(storage().allow().done.empty());
    EXPECT_EQ(authorized(stick), "0");
    EXPECT_EQ(tree_->probed(), "");
}

TEST_F(UsbStorageTest, FinishesWhatAKillLeft)
{
    const std::string stick = tree_->addStick("1-1");
    storage().block();
    std::filesystem::rename(places_.flag, places_.flag + ".lifting");
    EXPECT_EQ(storage().allow().done.size(), 1U);
    EXPECT_EQ(authorized(stick), "1");
    EXPECT_TRUE(std::filesystem::is_empty(folder_ / "etc"));
}

TEST_F(UsbStorageTest, RefusesWhereTheSystemRunsFromIt)
{
    const std::string stick = tree_->addStick("1-1");
    tree_->addDisk(stick, "sda", "8:0", "8:1");
    for (const char *const line :
         {"30 1 8:1 / / rw - ext4 /dev/sda1 rw", "30 1 0:40 /@ / rw - btrfs /dev/sda1 rw",
          "30 1 8:1 / /boot/efi rw shared:7 - vfat /dev/sda1 rw"}) {
        mounted(line);
        EXPECT_NE(storage().block().failure.find("runs from USB storage"), std::string::npos)
            << line;
        EXPECT_FALSE(exists(places_.flag));
        EXPECT_EQ(authorized(stick), "1");
    }
    mounted("30 1 8:1 / /nowhere/boot rw - ext4 /dev/sda1 rw");
    writeFile(places_.swaps, "Filename Type\n/dev/sda1 partition 1 0 -2\n");
    EXPECT_NE(storage().block().failure.find("swap space"), std::string::npos);
    EXPECT_EQ(authorized(stick), "1");
}

// Gives what the test found, from a child with mounts of its own. The stick's partition has the
// number of a file system that is really mounted.
class MountedStickTest : public UsbStorageTest
{
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "only root may mount";
        UsbStorageTest::SetUp();
    }

    std::string mountedStick(const std::function<std::string(const std::string &place)> &work)
    {
        return withOwnMounts([&]() -> std::string {
            const std::string place = folder_ / "stick with blank";
            std::filesystem::create_directory(place);
            if (mount("none", place.c_str(), "tmpfs", 0, nullptr) != 0)
                return "cannot mount";
            struct stat status {
            };
            stat(place.c_str(), &status);
            const std::string number =
                std::to_string(major(status.st_dev)) + ":" + std::to_string(minor(status.st_dev));
            tree_->addDisk(tree_->addStick("1-1"), "sda", "8:0", number);
            places_.mounts = "/proc/self/mountinfo";
            return work(place);
        });
    }
    static std::string interface() { return "/sys/devices/1-1/1-1:1.0"; }
};

TEST_F(MountedStickTest, IsUnmountedFirst)
{
    EXPECT_EQ(mountedStick([this](const std::string &place) -> std::string {
                  writeFile(place + "/file", "on the stick");
                  const auto outcome = storage().block();
                  if (!outcome.refused.empty())
                      return outcome.refused.front();
                  return exists(place + "/file") ? "still mounted" : authorized(interface());
              }),
              "0");
}

TEST_F(MountedStickTest, StaysWhileItIsInUse)
{
    const std::string said = mountedStick([this](const std::string &place) -> std::string {
        writeFile(place + "/file", "on the stick");
        const files::UniqueFd used(open((place + "/file").c_str(), O_RDONLY | O_CLOEXEC));
        const auto outcome = storage().block();
        if (outcome.refused.size() != 1 || !exists(place + "/file") ||
            authorized(interface()) != "1")
            return "blocked in spite of its use";
        return outcome.refused.front();
    });
    EXPECT_NE(said.find("\"Stick\" (1-1:1.0) stays connected"), std::string::npos) << said;
    EXPECT_NE(said.find("/stick with blank: it is in use"), std::string::npos) << said;
}

TEST_F(MountedStickTest, GoesOnceItIsNoLongerInUse)
{
    EXPECT_EQ(mountedStick([this](const std::string &place) -> std::string {
                  files::UniqueFd used(open(place.c_str(), O_RDONLY | O_CLOEXEC));
                  if (storage().block().refused.size() != 1)
                      return "not refused";
                  used.reset();
                  return storage().sweep().done.size() == 1 ? authorized(interface())
                                                            : "not blocked";
              }),
              "0");
}

class UsbWatchTest : public UsbStorageTest
{
};

TEST_F(UsbWatchTest, HearsOfFastPluggingAndUnplugging)
{
    auto watch = guard::UsbWatch::open();
    ASSERT_TRUE(watch);
    storage().block();
    EXPECT_FALSE(watch->take());
    for (int round = 0; round < 20; ++round) {
        const std::string stick = tree_->addStick("1-1");
        // The kernel tells of the device and of its driver: the same interface twice.
        tree_->announce(stick, "add");
        tree_->announce(stick, "bind");
        pollfd wait{watch->fd(), POLLIN, 0};
        ASSERT_EQ(poll(&wait, 1, 2000), 1);
        EXPECT_TRUE(watch->take());
        if (round % 2 == 0) {
            const auto outcome = storage().sweep();
            EXPECT_EQ(outcome.done.size(), 1U);
            EXPECT_EQ(authorized(stick), "0");
        }
        tree_->remove(stick);
        tree_->remove("/sys/devices/1-1");
        // Gone before it was looked at: nothing to do, and nothing to complain of.
        const auto outcome = storage().sweep();
        EXPECT_TRUE(outcome.done.empty() && outcome.refused.empty() && outcome.failure.empty());
        watch->take();
    }
}

} // namespace
