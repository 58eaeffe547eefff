#include "guard/usbstorage.h"

#include "files/printable.h"
#include "files/result.h"
#include "files/uniquefd.h"
#include "guard/mounttable.h"
#include "guard/sysfs.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>

namespace talo::guard
{

namespace
{

constexpr char kStorageClass[] = "08";

// Without one of these the machine would not start, or nobody could log in.
constexpr std::array<std::string_view, 8> kVital{"/",     "/usr",      "/var", "/etc",
                                                 "/boot", "/boot/efi", "/efi", "/home"};

std::string folderOf(const std::string &path)
{
    return path.substr(0, path.rfind('/'));
}

std::string lastOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

// So that a power cut cannot bring the old state back.
void flush(const std::string &folder)
{
    const files::UniqueFd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd)
        fsync(fd.get());
}

std::string putFlag(const std::string &flag)
{
    const std::string folder = folderOf(flag);
    if (mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST)
        return files::systemError(errno).text;
    const files::UniqueFd fd(open(flag.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!fd || fsync(fd.get()) != 0)
        return files::systemError(errno).text;
    flush(folder);
    return {};
}

bool there(const std::string &path)
{
    struct stat status {
    };
    return lstat(path.c_str(), &status) == 0;
}

// A file system that spreads over several devices has a number of its own; its source still names
// one of them.
bool liesOn(const Mount &mount, const std::vector<std::string> &devices)
{
    return std::any_of(devices.begin(), devices.end(), [&](const std::string &device) {
        const auto number = sysfs::number(device);
        const std::string mapped = sysfs::read(device + "/dm/name");
        return (number && *number == mount.device) || mount.source == "/dev/" + lastOf(device) ||
               (!mapped.empty() && mount.source == "/dev/mapper/" + mapped);
    });
}

} // namespace

std::vector<UsbStorage::Interface> UsbStorage::interfaces() const
{
    std::vector<Interface> found;
    const std::string bus = places_.sysfs + "/bus/usb/devices/";
    for (const std::string &name : sysfs::entries(bus)) {
        if (name.find(':') == std::string::npos ||
            sysfs::read(bus + name + "/bInterfaceClass") != kStorageClass)
            continue;
        const std::unique_ptr<char, decltype(&std::free)> real(
            realpath((bus + name).c_str(), nullptr), &std::free);
        if (!real)
            continue; // unplugged in between
        const std::string folder = real.get();
        const std::string product = sysfs::read(folderOf(folder) + "/product");
        const std::string label =
            product.empty() ? "USB storage " + name
                            : "USB storage \"" + files::printable(product) + "\" (" + name + ")";
        found.push_back({name, folder, label, sysfs::read(folder + "/authorized") != "0"});
    }
    return found;
}

// Where the system has put something that it needs; empty for nowhere.
std::string UsbStorage::vitalPlace() const
{
    std::vector<std::string> devices;
    for (const Interface &interface : interfaces())
        for (std::string &device : sysfs::blockDevices(places_.sysfs, interface.folder))
            devices.push_back(std::move(device));
    for (const Mount &mount : readMounts(places_.mounts))
        if (std::find(kVital.begin(), kVital.end(), mount.path) != kVital.end() &&
            liesOn(mount, devices))
            return mount.path;
    std::ifstream swaps(places_.swaps);
    for (std::string line; std::getline(swaps, line);) {
        Mount swap;
        swap.source = line.substr(0, line.find_first_of(" \t"));
        swap.device = 0;
        if (liesOn(swap, devices))
            return "swap space";
    }
    return {};
}

// Gives the first place that is in use; empty where nothing of it is mounted any more. The last
// mounted goes first, since it may lie upon an earlier one.
std::string UsbStorage::unmount(const Interface &interface) const
{
    const auto devices = sysfs::blockDevices(places_.sysfs, interface.folder);
    std::vector<Mount> mounts = readMounts(places_.mounts);
    std::reverse(mounts.begin(), mounts.end());
    for (const Mount &mount : mounts) {
        if (!liesOn(mount, devices))
            continue;
        // Not by force: what a program is writing would be lost.
        if (umount2(mount.path.c_str(), UMOUNT_NOFOLLOW) != 0 && errno != EINVAL && errno != ENOENT)
            return files::printable(mount.path) + ": " + files::systemError(errno).text;
    }
    return {};
}

UsbStorage::Outcome UsbStorage::block() const
{
    const std::string vital = vitalPlace();
    if (!vital.empty())
        return {{},
                {},
                "this system itself runs from USB storage (" + vital +
                    "), so USB storage is not blocked"};
    const std::string failure = putFlag(places_.flag);
    if (!failure.empty())
        return {{},
                {},
                "cannot mark USB storage as blocked in " + files::printable(places_.flag) + ": " +
                    failure};
    return sweep();
}

UsbStorage::Outcome UsbStorage::sweep() const
{
    Outcome outcome;
    if (!there(places_.flag))
        return outcome;
    for (const Interface &interface : interfaces()) {
        if (!interface.open)
            continue;
        const std::string busy = unmount(interface);
        if (!busy.empty()) {
            outcome.refused.push_back(interface.label + " stays connected, " + busy);
            continue;
        }
        const std::string failure = sysfs::write(interface.folder + "/authorized", "0");
        if (failure.empty())
            outcome.done.push_back(interface.label + " is blocked");
        else if (there(interface.folder)) // else it was pulled out, which is as good
            outcome.refused.push_back(interface.label + " cannot be blocked: " + failure);
    }
    return outcome;
}

UsbStorage::Outcome UsbStorage::allow() const
{
    Outcome outcome;
    // The flag goes before the devices come back, or the rule would block them again. What a kill
    // in between leaves to do is kept in the other name.
    const bool renamed = rename(places_.flag.c_str(), lifting().c_str()) == 0;
    if (!renamed && errno != ENOENT) {
        outcome.failure = "cannot remove the mark " + files::printable(places_.flag) + ": " +
                          files::systemError(errno).text;
        return outcome;
    }
    if (!renamed && !there(lifting()))
        return outcome;
    flush(folderOf(places_.flag));
    for (const Interface &interface : interfaces()) {
        if (interface.open)
            continue;
        std::string failure = sysfs::write(interface.folder + "/authorized", "1");
        if (failure.empty())
            failure = sysfs::write(places_.sysfs + "/bus/usb/drivers_probe", interface.name);
        if (failure.empty())
            outcome.done.push_back(interface.label + " is allowed again");
        else if (there(interface.folder))
            outcome.refused.push_back(interface.label + " must be plugged in anew: " + failure);
    }
    if (unlink(lifting().c_str()) != 0)
        outcome.refused.push_back("cannot remove " + files::printable(lifting()) + ": " +
                                  files::systemError(errno).text);
    return outcome;
}

UsbStorage::State UsbStorage::state() const
{
    State state;
    state.flag = there(places_.flag);
    state.rule = std::any_of(places_.rules.begin(), places_.rules.end(), there);
    for (const Interface &interface : interfaces())
        ++(interface.open ? state.open : state.blocked);
    return state;
}

} // namespace talo::guard
