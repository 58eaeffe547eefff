#!/usr/bin/env bash
# Soaks the build on a machine that is a copy of this one for as long as it runs: its own processes,
# network and mounts, and an overlay over every file. What happens there is soak.py's to say.
# usage: machine.sh BUILD-FOLDER SOURCE-FOLDER [options of soak.py]
set -euo pipefail

if [ "$(id -u)" != 0 ]; then
    echo "only root may mount; skipped"
    exit 77
fi
if [ "${TALO_SOAK_APART:-}" != yes ]; then
    # Everything that is started and mounted goes with the first process of the new machine.
    exec env TALO_SOAK_APART=yes unshare --mount --pid --fork --net --ipc --uts --kill-child \
        --propagation private -- "$0" "$@"
fi
build=$1 source=$2
shift 2

machine=/mnt
mount -t tmpfs -o mode=0755 talo-soak $machine
mkdir $machine/upper $machine/work $machine/root
if ! mount -t overlay -o "lowerdir=/,upperdir=$machine/upper,workdir=$machine/work" \
    talo-soak $machine/root; then
    echo "no overlay can be mounted; skipped"
    exit 77
fi
root=$machine/root
mount -t proc -o nosuid,nodev,noexec proc $root/proc
mount -t sysfs -o nosuid,nodev,noexec,ro sysfs $root/sys
mount --rbind /dev $root/dev
rm -rf $root/var/lib/taloantivirus $root/etc/taloantivirus
mkdir -p $root/soak $root/var/lib/taloantivirus
# The machine's own signatures would take half a minute to load.
for place in run tmp var/tmp dev/shm soak var/lib/taloantivirus var/lib/clamav; do
    mount -t tmpfs -o mode=0755 talo-soak $root/$place
done
chmod 1777 $root/tmp $root/var/tmp $root/dev/shm
chmod 0700 $root/var/lib/taloantivirus
mkdir -p "$root$build" "$root$source" "$build/soak"
mount --bind "$build" "$root$build"
mount --bind "$source" "$root$source"
grep -q '^talo-scan:' $root/etc/passwd ||
    echo 'talo-scan:x:64999:64999::/nonexistent:/bin/false' >>$root/etc/passwd
ip link set lo up
# The shell stays, as the first process, to wait for those that lose their parent.
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root TZ=UTC PYTHONUNBUFFERED=1 \
    PYTHONDONTWRITEBYTECODE=1 ASAN_OPTIONS="${ASAN_OPTIONS:-}" LSAN_OPTIONS="${LSAN_OPTIONS:-}" \
    TSAN_OPTIONS="${TSAN_OPTIONS:-}" chroot $root /usr/bin/python3 \
    "$source/tests/product/soak/soak.py" "$build" "$source" "$@" || exit $?
