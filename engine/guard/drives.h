// Drives that come and go: which mounts are of external drives, and when there are others.
#pragma once

#include "files/result.h"
#include "files/uniquefd.h"
#include "guard/mounttable.h"

#include <optional>
#include <string>
#include <vector>

namespace talo::guard
{

// The block device that a mount's files lie on; none for what lies on no device of this machine.
std::optional<dev_t> deviceOf(const Mount &mount);

// Whether a block device is on USB, a memory card, or a drive whose medium can be taken out; also
// through encryption and volumes that are built upon such a one.
bool isExternal(dev_t device);

// Whether the kernel still has it.
bool isThere(dev_t device);

class DriveWatch
{
public:
    // Drives that are mounted by now have not arrived.
    static files::Result<DriveWatch> open();

    // Has an exceptional condition (POLLPRI) when something was mounted or unmounted.
    int fd() const { return table_.get(); }

    struct Drive {
        Mount mount;
        dev_t device = 0;
    };
    struct Changes {
        std::vector<Drive> arrived; // once for each device, however often it is mounted
        std::vector<Drive> gone;    // no longer mounted at that place
    };
    Changes take();

private:
    explicit DriveWatch(files::UniqueFd table) : table_(std::move(table)) {}

    files::UniqueFd table_;
    std::vector<Mount> mounts_; // as last read
    std::vector<Drive> drives_; // the external ones of these
};

} // namespace talo::guard
