// How a scan ranks among what the machine has to do.
#pragma once

#include <linux/ioprio.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace talo::scan
{

enum class Priority {
    Normal,
    Background, // takes the processors and drives that nobody else wants
};

// Makes the calling thread, and what it starts from here on, one of the background. Without
// privileges there is no way back. Where the kernel refuses, the scan is only less considerate.
//
// The lowest nice value, and not the idle class: a thread of that class that holds a lock might not
// run for as long as the machine is busy, and whoever waits for the lock with it.
inline void runInBackground()
{
    setpriority(PRIO_PROCESS, 0, 19);
    syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0));
}

} // namespace talo::scan
