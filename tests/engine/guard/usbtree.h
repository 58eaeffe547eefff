// USB devices that are not there, as sysfs and udev would show them.
#pragma once

#include "guard/usbstorage.h"

#include <memory>
#include <string>
#include <umockdev.h>

namespace talo::test
{

// In the numbers of the USB standard.
constexpr char kStorage[] = "08";
constexpr char kHid[] = "03";   // keyboards and mice
constexpr char kImage[] = "06"; // phones and cameras
constexpr char kHub[] = "09";

class UsbTree
{
public:
    UsbTree();

    std::string addDevice(const std::string &name, const std::string &product,
                          const std::string &parent = std::string());
    std::string addInterface(const std::string &name, const std::string &device,
                             const std::string &interfaceClass);
    // A disk with one partition, "sda" and "sda1", below an interface.
    std::string addDisk(const std::string &interface, const std::string &disk,
                        const std::string &number, const std::string &partition);
    // A stick and its one interface.
    std::string addStick(const std::string &name, const std::string &parent = std::string());
    void remove(const std::string &device);
    void announce(const std::string &device, const char *action);

    std::string value(const std::string &device, const std::string &attribute) const;
    std::string probed() const; // what was last given to drivers_probe
    std::string sysfs() const;

private:
    struct Free {
        void operator()(UMockdevTestbed *bed) const { g_object_unref(bed); }
    };
    std::unique_ptr<UMockdevTestbed, Free> bed_;
};

} // namespace talo::test
