#include "schedule/power.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace talo::schedule
{

namespace
{

class Power : public testing::Test
{
protected:
    Power()
    {
        char name[] = "/tmp/talo-power-XXXXXX";
        folder = mkdtemp(name);
    }
    ~Power() override { std::filesystem::remove_all(folder); }

    void supply(const std::string &name, const std::map<std::string, std::string> &attributes) const
    {
        std::filesystem::create_directory(folder + "/" + name);
        for (const auto &[attribute, value] : attributes)
            std::ofstream(folder + "/" + name + "/" + attribute) << value << '\n';
    }
    bool battery() const { return onBattery(folder); }

    std::string folder;
};

} // namespace

TEST_F(Power, IsMainsWhereThereIsNoBattery)
{
    EXPECT_FALSE(onBattery(folder + "/nothing"));
    EXPECT_FALSE(battery());
    supply("hid", {{"type", "Battery"}, {"scope", "Device"}, {"status", "Discharging"}});
    EXPECT_FALSE(battery());
    supply("strange", {});
    EXPECT_FALSE(battery());
}

TEST_F(Power, IsTheBatteryWithoutAPlug)
{
    supply("AC", {{"type", "Mains"}, {"online", "0"}});
    supply("BAT0", {{"type", "Battery"}, {"status", "Discharging"}});
    EXPECT_TRUE(battery());
    supply("AC", {{"type", "Mains"}, {"online", "1"}});
    EXPECT_FALSE(battery());
}

TEST_F(Power, MayComeThroughUsb)
{
    supply("BAT0", {{"type", "Battery"}, {"status", "Discharging"}, {"scope", "System"}});
    supply("port0", {{"type", "USB"}, {"online", "0"}});
    EXPECT_TRUE(battery());
    supply("port1", {{"type", "USB_PD"}, {"online", "1"}});
    EXPECT_FALSE(battery());
}

TEST_F(Power, IsNotJudgedByAnEmptyPort)
{
    supply("port0", {{"type", "USB"}, {"online", "0"}});
    EXPECT_FALSE(battery());
    supply("BAT0", {{"type", "Battery"}, {"status", "Full"}});
    EXPECT_FALSE(battery());
}

} // namespace talo::schedule
