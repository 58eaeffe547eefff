// Tells when a USB device has come, after udev's rules have seen it.
#pragma once

#include "files/result.h"

#include <memory>

struct udev;
struct udev_monitor;

namespace talo::guard
{

class UsbWatch
{
public:
    static files::Result<UsbWatch> open();

    // Readable when there is something to take.
    int fd() const;

    // Takes all that has come. Whether an interface was among it; events may come twice.
    bool take();

private:
    struct Free {
        void operator()(udev *context) const;
        void operator()(udev_monitor *monitor) const;
    };
    UsbWatch() = default;
    std::unique_ptr<udev, Free> context_;
    std::unique_ptr<udev_monitor, Free> monitor_;
};

} // namespace talo::guard
