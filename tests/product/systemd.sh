#!/usr/bin/env bash
# Starts a copy of this machine twice, with systemd as its first process, and installs the package the
# first time. What is seen there is systemdinside.sh's to say.
# usage: systemd.sh PACKAGE-FOLDER
set -euo pipefail
here=$(dirname "$0")
. "$here/machine.sh"

skip() {
    echo "$*; skipped"
    exit 77
}

# A part of the machine's own tree of control groups for systemd to keep house in.
groups=$(findmnt --noheadings --first-only --types cgroup2 --output TARGET || true)
group=$groups/talo-test-$$

if [ "${2:-}" != apart ]; then
    [ "$(id -u)" = 0 ] || skip "only root may mount"
    [ -x /lib/systemd/systemd ] || skip "there is no systemd"
    [ -n "$groups" ] && mkdir "$group" 2>/dev/null || skip "no control group can be made"
    trap 'find "$group" -depth -type d -exec rmdir {} +' EXIT
    # Everything else that the test starts and mounts goes with the first process of the namespace.
    code=0
    bash -c 'echo $$ >"$0/cgroup.procs" && exec "$@"' "$group" \
        unshare --mount --pid --fork --net --ipc --uts --cgroup --kill-child --mount-proc \
        --propagation private -- "$0" "$1" apart || code=$?
    exit $code
fi

root=/mnt/root
make_machine $root || skip "no overlay can be mounted"
# No unit of the real machine's shall start there.
mount -t tmpfs -o mode=0755 talo-test $root/etc/systemd/system
mount -t tmpfs -o mode=0755 talo-test $root/var/log
# A machine that is made to build and test on may forbid its packages to start what they bring.
rm -f $root/etc/machine-id $root/usr/sbin/policy-rc.d
systemd-machine-id-setup --root=$root 2>/dev/null
cat >$root/etc/systemd/system/talo-test.service <<'END'
[Unit]
After=multi-user.target
SuccessAction=exit
FailureAction=exit
FailureActionExitStatus=1
[Service]
Type=oneshot
Environment=LC_ALL=C.UTF-8 HOME=/root
ExecStart=/opt/talo-test/systemdinside.sh
StandardOutput=truncate:/opt/talo-test/said
StandardError=inherit
TimeoutStartSec=120
[Install]
WantedBy=multi-user.target
END
mkdir $root/etc/systemd/system/multi-user.target.wants $root/opt/talo-test
ln -s ../talo-test.service $root/etc/systemd/system/multi-user.target.wants
cp "$here/"{steps.sh,systemdinside.sh} "$1"/*.deb $root/opt/talo-test

start_machine() {
    mount_kernel_files $root
    mount -t cgroup2 -o nosuid,nodev,noexec cgroup2 $root/sys/fs/cgroup
    mount -t tmpfs -o mode=0755 talo-test $root/dev
    for device in null zero full random urandom tty; do
        mknod -m 666 $root/dev/$device c "$(printf '%d' 0x"$(stat -c %t /dev/$device)")" \
            "$(printf '%d' 0x"$(stat -c %T /dev/$device)")"
    done
    mkdir $root/dev/pts $root/dev/shm
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts $root/dev/pts
    mount -t tmpfs -o mode=1777 talo-test $root/dev/shm
    ln -s pts/ptmx $root/dev/ptmx
    ln -s /proc/self/fd $root/dev/fd
    mount -t tmpfs -o mode=0755 talo-test $root/run
    ip link set lo up
    exec env -i container=talo-test PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        chroot $root /lib/systemd/systemd --system --unit=multi-user.target </dev/null
}

for boot in first second; do
    echo "== the $boot start"
    echo $boot >$root/opt/talo-test/boot
    code=0
    (
        export -f start_machine mount_kernel_files
        export root
        timeout --kill-after=5 180 unshare --mount --pid --fork --net --ipc --uts --cgroup \
            --kill-child --propagation private -- bash -euc start_machine
    ) || code=$?
    cat $root/opt/talo-test/said
    [ $code = 0 ] || exit 1
done
echo "all is well"
