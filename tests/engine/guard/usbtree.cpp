#include "engine/guard/usbtree.h"

#include "engine/files/sandbox.h"

#include <filesystem>

namespace talo::test
{

namespace
{

std::string taken(char *text)
{
    std::string copy = text == nullptr ? "" : text;
    g_free(text);
    return copy;
}

const char *orNone(const std::string &text)
{
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

UsbTree::UsbTree() : bed_(umockdev_testbed_new())
{
    std::filesystem::create_directories(sysfs() + "/bus/usb");
    writeFile(sysfs() + "/bus/usb/drivers_probe", "");
}

std::string UsbTree::sysfs() const
{
    return taken(umockdev_testbed_get_sys_dir(bed_.get()));
}

std::string UsbTree::addDevice(const std::string &name, const std::string &product,
                               const std::string &parent)
{
    return taken(umockdev_testbed_add_device(bed_.get(), "usb", name.c_str(), orNone(parent),
                                             "product", product.c_str(), "authorized", "1", nullptr,
                                             "DEVTYPE", "usb_device", nullptr));
}

std::string UsbTree::addInterface(const std::string &name, const std::string &device,
                                  const std::string &interfaceClass)
{
    return taken(umockdev_testbed_add_device(
        bed_.get(), "usb", name.c_str(), device.c_str(), "bInterfaceClass", interfaceClass.c_str(),
        "authorized", "1", nullptr, "DEVTYPE", "usb_interface", nullptr));
}

std::string UsbTree::addDisk(const std::string &interface, const std::string &disk,
                             const std::string &number, const std::string &partition)
{
    std::string path = taken(umockdev_testbed_add_device(
        bed_.get(), "block", ("host6/target6:0:0/6:0:0:0/block/" + disk).c_str(), interface.c_str(),
        "dev", number.c_str(), "removable", "1", nullptr, "DEVTYPE", "disk", nullptr));
    g_free(umockdev_testbed_add_device(bed_.get(), "block", (disk + "1").c_str(), path.c_str(),
                                       "dev", partition.c_str(), nullptr, "DEVTYPE", "partition",
                                       nullptr));
    // By number it is found through a link that umockdev does not make.
    std::filesystem::create_directories(sysfs() + "/dev/block");
    std::filesystem::create_symlink("../.." + path.substr(4), sysfs() + "/dev/block/" + number);
    return path;
}

std::string UsbTree::addStick(const std::string &name, const std::string &parent)
{
    return addInterface(name + ":1.0", addDevice(name, "Stick", parent), kStorage);
}

void UsbTree::remove(const std::string &device)
{
    umockdev_testbed_remove_device(bed_.get(), device.c_str());
    const std::string numbers = sysfs() + "/dev/block";
    if (exists(numbers))
        for (const auto &link : std::filesystem::directory_iterator(numbers))
            if (!std::filesystem::exists(link.path()))
                std::filesystem::remove(link.path());
}

void UsbTree::announce(const std::string &device, const char *action)
{
    umockdev_testbed_uevent(bed_.get(), device.c_str(), action);
}

std::string UsbTree::value(const std::string &device, const std::string &attribute) const
{
    const std::string text = readFile(sysfs() + device.substr(4) + "/" + attribute);
    return text.substr(0, text.find('\n'));
}

std::string UsbTree::probed() const
{
    return readFile(sysfs() + "/bus/usb/drivers_probe");
}

} // namespace talo::test
