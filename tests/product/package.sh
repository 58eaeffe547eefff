#!/usr/bin/env bash
# Installs the package on a copy of this machine, with processes and a network of its own. What becomes
# of it there is packageinside.sh's to say.
# usage: package.sh PACKAGE-FOLDER SOURCE-FOLDER BUILD-FOLDER
set -euo pipefail
here=$(dirname "$0")
. "$here/machine.sh"

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

root=/mnt/root
if ! make_machine $root; then
    echo "no overlay can be mounted; skipped"
    exit 77
fi
mount_kernel_files $root
mount --rbind /dev $root/dev
mount -t tmpfs -o mode=0755 talo-test $root/run
cp "$here/"{steps.sh,packageinside.sh,attack.py,rawbus.py} "$packages"/*.deb \
    "$source/engine/store/schema.h" "$build/tests/lib/libtalo_panel_places.so" $root/run
ip link set lo up

# A newer release, made of these sources and objects as the package at hand was: what names the
# version is compiled, and all is linked and packed anew. What it writes there, the copy has alone.
for folder in "$source" "$build"; do
    if [ ! -e "$root$folder" ]; then # on a drive of its own
        mkdir -p "$root$folder" "/mnt/upper-${folder##*/}" "/mnt/work-${folder##*/}"
        mount -t overlay -o "lowerdir=$folder,upperdir=/mnt/upper-${folder##*/}" \
            -o "workdir=/mnt/work-${folder##*/}" talo-test "$root$folder"
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
