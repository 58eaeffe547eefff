#!/usr/bin/env bash
# Installs the package on a machine that is a copy of this one for as long as the test runs: its own
# processes, network and mounts, and an overlay over every file. What becomes of it there is
# packageinside.sh's to say.
# usage: package.sh PACKAGE-FOLDER SOURCE-FOLDER
set -euo pipefail

if [ "$(id -u)" != 0 ]; then
    echo "only root may mount; skipped"
    exit 77
fi
if [ "${3:-}" != apart ]; then
    # Everything that the test starts and mounts goes with the first process of the new machine.
    exec unshare --mount --pid --fork --net --ipc --uts --kill-child --propagation private \
        -- "$0" "$1" "$2" apart
fi

machine=/mnt
mount -t tmpfs -o mode=0755 talo-test $machine
mkdir $machine/upper $machine/work $machine/root
if ! mount -t overlay -o "lowerdir=/,upperdir=$machine/upper,workdir=$machine/work" \
    talo-test $machine/root; then
    echo "no overlay can be mounted; skipped"
    exit 77
fi
root=$machine/root
mount -t proc -o nosuid,nodev,noexec proc $root/proc
mount -t sysfs -o nosuid,nodev,noexec,ro sysfs $root/sys
mount --rbind /dev $root/dev
mount -t tmpfs -o mode=0755 talo-test $root/run
mount -t tmpfs -o mode=1777 talo-test $root/tmp
mount -t tmpfs -o mode=1777 talo-test $root/var/tmp
# What a developer has installed there is not of a package.
rm -rf $root/usr/local/taloantivirus $root/etc/taloantivirus $root/var/lib/taloantivirus
# The machine's own signatures would take half a minute to load; the built-in ones know test files.
mount -t tmpfs -o mode=0755 talo-test $root/var/lib/clamav
cp "$(dirname "$0")/"{packageinside.sh,confineasunit.py,attack.py,rawbus.py} "$1"/*.deb $root/run
cp "$2/engine/store/schema.h" $root/run
ip link set lo up
exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root \
    chroot $root /bin/bash -c "exec /run/packageinside.sh /run/*.deb"
