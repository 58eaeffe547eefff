# shellcheck shell=bash
# A copy of this machine for as long as a test runs: an overlay over every file, and mounts of its own
# where a test leaves something. To be sourced by root in a mount namespace of its own.

# make_machine ROOT: nothing is in its /dev, /run and /sys/fs/cgroup yet. False where no overlay can be
# mounted.
make_machine() {
    local root=$1 layers
    layers=$(dirname "$root")
    mount -t tmpfs -o mode=0755 talo-test "$layers"
    mkdir "$layers/upper" "$layers/work" "$root"
    mount -t overlay -o "lowerdir=/,upperdir=$layers/upper,workdir=$layers/work" talo-test "$root" ||
        return 1
    mount -t tmpfs -o mode=1777 talo-test "$root/tmp"
    mount -t tmpfs -o mode=1777 talo-test "$root/var/tmp"
    # What a developer has installed there is not of a package.
    rm -rf "$root/usr/local/taloantivirus" "$root/etc/taloantivirus" "$root/var/lib/taloantivirus"
    # The machine's own signatures would take half a minute to load; the built-in ones know test files.
    mount -t tmpfs -o mode=0755 talo-test "$root/var/lib/clamav"
}

# Of the process namespace that asks.
mount_kernel_files() { # ROOT
    mount -t proc -o nosuid,nodev,noexec proc "$1/proc"
    mount -t sysfs -o nosuid,nodev,noexec,ro sysfs "$1/sys"
}
