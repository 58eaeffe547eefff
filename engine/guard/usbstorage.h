// USB storage, blocked and allowed again: by interface and not by device, so that a keyboard that
// carries a stick stays a keyboard.
#pragma once

#include <string>
#include <vector>

namespace talo::guard
{

// Where everything is; tests have places of their own.
struct UsbPlaces {
    std::string sysfs = "/sys";
    std::string mounts = "/proc/self/mountinfo";
    std::string swaps = "/proc/swaps";
    // While this file is there, the rule blocks what is plugged in, also before the service runs.
    // It lies on the root file system, which is there when devices are first looked at.
    std::string flag = "/etc/taloantivirus/usb-storage-blocked";
    std::vector<std::string> rules = {"/etc/udev/rules.d/71-taloantivirus-usb.rules",
                                      "/usr/lib/udev/rules.d/71-taloantivirus-usb.rules",
                                      "/lib/udev/rules.d/71-taloantivirus-usb.rules"};
};

// Holds nothing but its places: any thread, though changes one at a time. Needs root. All texts are
// printable.
class UsbStorage
{
public:
    explicit UsbStorage(UsbPlaces places = UsbPlaces()) : places_(std::move(places)) {}

    struct Outcome {
        std::vector<std::string> done;    // what was blocked or allowed again
        std::vector<std::string> refused; // what was not, and why
        std::string failure;              // why nothing was done at all
    };
    // Marks storage as blocked for what will be plugged in, then sweeps. Not where the system
    // itself runs from USB storage: it would not start again.
    Outcome block() const;

    // Unmounts and blocks what is plugged in, while storage is marked as blocked. What is in use is
    // left as it is and named.
    Outcome sweep() const;

    // Takes all of it back; does nothing where nothing was blocked.
    Outcome allow() const;

    struct State {
        bool flag = false;
        bool rule = false;
        unsigned open = 0;    // storage interfaces that work
        unsigned blocked = 0; // and that do not
    };
    State state() const;

private:
    struct Interface {
        std::string name;   // "1-4:1.0"
        std::string folder; // below the device's own
        std::string label;  // for people
        bool open = true;
    };
    std::vector<Interface> interfaces() const;
    std::string vitalPlace() const;
    std::string unmount(const Interface &interface) const;
    std::string lifting() const { return places_.flag + ".lifting"; }

    UsbPlaces places_;
};

} // namespace talo::guard
