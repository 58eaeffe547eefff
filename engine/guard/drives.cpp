#include "guard/drives.h"

#include "guard/sysfs.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <libudev.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace talo::guard
{

namespace
{

constexpr char kTable[] = "/proc/self/mountinfo";
// Volumes upon encryption upon arrays: more than that nobody builds.
constexpr int kDeepest = 8;

struct Free {
    void operator()(udev *context) const { udev_unref(context); }
    void operator()(udev_device *device) const { udev_device_unref(device); }
};
using Device = std::unique_ptr<udev_device, Free>;

bool attributeIs(udev_device *device, const char *name, std::string_view value)
{
    const char *const text =
        device == nullptr ? nullptr : udev_device_get_sysattr_value(device, name);
    return text != nullptr && text == value;
}

bool isExternalDevice(udev *context, udev_device *device, int depth)
{
    if (device == nullptr || depth > kDeepest)
        return false;
    // The parents belong to the device and are freed with it.
    if (udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device") != nullptr ||
        attributeIs(device, "removable", "1") ||
        attributeIs(udev_device_get_parent_with_subsystem_devtype(device, "block", "disk"),
                    "removable", "1") ||
        attributeIs(udev_device_get_parent_with_subsystem_devtype(device, "mmc", nullptr), "type",
                    "SD"))
        return true;
    const std::string folder = udev_device_get_syspath(device);
    for (const std::string &below : sysfs::entries(folder + "/slaves")) {
        const Device lower(udev_device_new_from_subsystem_sysname(context, "block", below.c_str()));
        if (isExternalDevice(context, lower.get(), depth + 1))
            return true;
    }
    return false;
}

std::string folderOf(dev_t device)
{
    return "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
}

bool same(const Mount &one, const Mount &other)
{
    return one.id == other.id && one.device == other.device && one.path == other.path;
}

bool contains(const std::vector<Mount> &mounts, const Mount &mount)
{
    return std::any_of(mounts.begin(), mounts.end(),
                       [&mount](const Mount &other) { return same(mount, other); });
}

} // namespace

std::optional<dev_t> deviceOf(const Mount &mount)
{
    if (major(mount.device) != 0)
        return mount.device;
    // Some file systems have a number of their own, and name the device. Those that a user's
    // program answers for name whatever that program likes.
    if (mount.type == "fuse" || mount.type.rfind("fuse.", 0) == 0 ||
        mount.source.rfind("/dev/", 0) != 0)
        return std::nullopt;
    struct stat status {
    };
    if (stat(mount.source.c_str(), &status) != 0 || !S_ISBLK(status.st_mode))
        return std::nullopt;
    return status.st_rdev;
}

bool isExternal(dev_t device)
{
    const std::unique_ptr<udev, Free> context(udev_new());
    if (!context)
        return false;
    const Device found(udev_device_new_from_syspath(context.get(), folderOf(device).c_str()));
    return isExternalDevice(context.get(), found.get(), 0);
}

bool isThere(dev_t device)
{
    return access(folderOf(device).c_str(), F_OK) == 0;
}

files::Result<DriveWatch> DriveWatch::open()
{
    files::UniqueFd table(::open(kTable, O_RDONLY | O_CLOEXEC));
    if (!table)
        return files::systemError(errno);
    DriveWatch watch(std::move(table));
    watch.take();
    return watch;
}

DriveWatch::Changes DriveWatch::take()
{
    const std::vector<Mount> now = readMounts(kTable);
    Changes changes;
    for (auto drive = drives_.begin(); drive != drives_.end();) {
        const bool stays = contains(now, drive->mount);
        if (!stays)
            changes.gone.push_back(*drive);
        drive = stays ? drive + 1 : drives_.erase(drive);
    }
    for (const Mount &mount : now) {
        const auto device = contains(mounts_, mount) ? std::nullopt : deviceOf(mount);
        if (!device || !isExternal(*device))
            continue;
        const bool mountedElsewhere =
            std::any_of(drives_.begin(), drives_.end(),
                        [&](const Drive &drive) { return drive.device == *device; });
        drives_.push_back({mount, *device});
        if (!mountedElsewhere)
            changes.arrived.push_back(drives_.back());
    }
    mounts_ = now;
    return changes;
}

} // namespace talo::guard
