#!/usr/bin/env bash
# Installs the package on a machine that is a copy of this one for as long as the test runs: its own
# processes, network and mounts, and an overlay over every file. What becomes of it there is
# packageinside.sh's to say.
# usage: package.sh PACKAGE-FOLDER SOURCE-FOLDER BUILD-FOLDER
set -euo pipefail

if [ "$(id -u)" != 0 ]; then
    echo "only root may mount; skipped"
    exit 77
fi
if [ "${4:-}" != apart ]; then
    # Everything that the test starts and mounts goes with the first process of the new machine.
    exec unshare --mount --pid --fork --net --ipc --uts --kill-child --propagation private \
        -- "$0" "$1" "$2" "$3" apart
fi
packages=$1 source=$2 build=$3

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
cp "$source/tests/product/"{packageinside.sh,confineasunit.py,attack.py,rawbus.py} "$packages"/*.deb \
    "$source/engine/store/schema.h" "$build/tests/lib/libtalo_panel_places.so" $root/run
ip link set lo up

# A newer release, made of these sources and objects as the package at hand was: what names the
# version is compiled, and all is linked and packed anew. What it writes there, the copy has alone.
for folder in "$source" "$build"; do
    if [ ! -e "$root$folder" ]; then # on a drive of its own
        mkdir -p "$root$folder" "$machine/upper-${folder##*/}" "$machine/work-${folder##*/}"
        mount -t overlay -o "lowerdir=$folder,upperdir=$machine/upper-${folder##*/}" \
            -o "workdir=$machine/work-${folder##*/}" talo-test "$root$folder"
    fi
done
newer=$(dpkg-deb -f "$packages"/*.deb Version).1
env -i PATH="$PATH" LC_ALL=C.UTF-8 HOME=/root chroot $root /bin/bash -euo pipefail -c '
    cmake -D TALO_VERSION="$1" -D BUILD_TESTING=OFF "$3"
    cmake --build "$3"
    cd "$3" && cpack --config CPackConfig.cmake -B /run/newer
' bash "$newer" "$source" "$build" >$root/run/newer.log 2>&1 || {
    tail -n 30 $root/run/newer.log
    echo "no newer package can be built"
    exit 1
}
exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root \
    chroot $root /bin/bash -c "exec /run/packageinside.sh /run/*.deb"
