#include "guard/usbwatch.h"

#include <cerrno>
#include <libudev.h>
#include <string_view>

namespace talo::guard
{

void UsbWatch::Free::operator()(udev *context) const
{
    udev_unref(context);
}

void UsbWatch::Free::operator()(udev_monitor *monitor) const
{
    udev_monitor_unref(monitor);
}

files::Result<UsbWatch> UsbWatch::open()
{
    UsbWatch watch;
    watch.context_.reset(udev_new());
    if (!watch.context_)
        return files::systemError(ENOMEM);
    watch.monitor_.reset(udev_monitor_new_from_netlink(watch.context_.get(), "udev"));
    if (!watch.monitor_)
        return files::systemError(errno);
    const int failed = udev_monitor_filter_add_match_subsystem_devtype(watch.monitor_.get(), "usb",
                                                                       "usb_interface");
    const int refused = failed < 0 ? failed : udev_monitor_enable_receiving(watch.monitor_.get());
    if (refused < 0)
        return files::systemError(-refused);
    return watch;
}

int UsbWatch::fd() const
{
    return udev_monitor_get_fd(monitor_.get());
}

bool UsbWatch::take()
{
    bool come = false;
    while (udev_device *const device = udev_monitor_receive_device(monitor_.get())) {
        const char *const action = udev_device_get_action(device);
        come |= action != nullptr && std::string_view(action) != "remove";
        udev_device_unref(device);
    }
    return come;
}

} // namespace talo::guard
