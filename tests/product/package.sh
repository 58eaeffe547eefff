#!/usr/bin/env bash
# Installs the package on a copy of this machine, with processes and a network of its own. What becomes
# of it there is packageinside.sh's to say.
# usage: package.sh PACKAGE-FOLDER SOURCE-FOLDER
set -euo pipefail
here=$(dirname "$0")
. "$here/machine.sh"

if [ "$(id -u)" != 0 ]; then
    echo "only root may mount; skipped"
    exit 77
fi
if [ "${3:-}" != apart ]; then
    # Everything that the test starts and mounts goes with the first process of the new machine.
    exec unshare --mount --pid --fork --net --ipc --uts --kill-child --propagation private \
        -- "$0" "$1" "$2" apart
fi

root=/mnt/root
if ! make_machine $root; then
    echo "no overlay can be mounted; skipped"
    exit 77
fi
mount_kernel_files $root
mount --rbind /dev $root/dev
mount -t tmpfs -o mode=0755 talo-test $root/run
cp "$here/"{steps.sh,packageinside.sh,attack.py,rawbus.py} "$1"/*.deb $root/run
cp "$2/engine/store/schema.h" $root/run
ip link set lo up
exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root \
    chroot $root /bin/bash -c "exec /run/packageinside.sh /run/*.deb"
