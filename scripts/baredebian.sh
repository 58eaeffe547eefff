#!/usr/bin/env bash
# Runs a command of the README, or another, in a copy of the sources on a Debian 12 on which nothing
# was installed by hand: what scripts/packages.txt lacks shows there alone. The machine is made once, in
# the given folder, and stays there with what the command installed. Needs root and debootstrap.
# usage: scripts/baredebian.sh FOLDER [COMMAND…]      COMMAND: ./scripts/test.sh (default)
set -euo pipefail
. "$(dirname "$0")/common.sh"

sources=/usr/src/taloantivirus
if [ "${1:-}" != --inside ]; then
    [ $# -ge 1 ] || fail "usage: scripts/baredebian.sh FOLDER [COMMAND…]"
    [ "$(id -u)" -eq 0 ] || fail "Only root may make a machine of its own."
    command -v debootstrap >/dev/null || fail "debootstrap is missing."
    machine=$1
    shift
    [ $# -gt 0 ] || set -- ./scripts/test.sh
    [ -e "$machine/etc/debian_version" ] ||
        debootstrap --variant=minbase bookworm "$machine"
    machine=$(cd "$machine" && pwd)
    [ "$machine" != / ] || fail "That is this machine."
    # What was built there stays; what has gone from the sources goes there too.
    mkdir -p "$machine$sources"
    find "$machine$sources" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
    tar -C "$root_dir" --exclude=./build --exclude=./.git -c . | tar -C "$machine$sources" -x
    # Everything that is started and mounted there ends with the command.
    exec unshare --mount --pid --fork --kill-child --propagation private -- \
        "$root_dir/scripts/baredebian.sh" --inside "$machine" "$@"
fi

machine=$2
shift 2
# A root of its own, not a changed one, in which user namespaces are refused.
mount --bind "$machine" "$machine"
mount -t proc proc "$machine/proc"
mount -t sysfs sysfs "$machine/sys"
mount -t cgroup2 cgroup2 "$machine/sys/fs/cgroup" || say "Control groups are missing there."
mount --rbind /dev "$machine/dev"
mount -t tmpfs -o mode=1777 tmp "$machine/tmp"
cp /etc/resolv.conf "$machine/etc/resolv.conf"
mkdir -p "$machine/oldroot"
cd "$machine"
pivot_root . oldroot
umount -l /oldroot
cd "$sources"
exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 "$@"
