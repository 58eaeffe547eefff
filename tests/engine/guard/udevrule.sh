#!/usr/bin/env bash
# Has the real udev go by the rule for USB storage, on devices that umockdev makes up, with a /run and
# an /etc of the test's own.
# usage: udevrule.sh RULE
set -euo pipefail

if [ "$(id -u)" != 0 ]; then
    echo "only root may mount; skipped"
    exit 77
fi

if [ "${2:-}" != inside ]; then
    folder=$(mktemp -d)
    trap 'rm -r "$folder"' EXIT
    cat >"$folder/devices" <<'END'
P: /devices/1-1
E: DEVTYPE=usb_device
E: SUBSYSTEM=usb
A: product=Keyboard with a stick

P: /devices/1-1/1-1:1.0
E: DEVTYPE=usb_interface
E: SUBSYSTEM=usb
A: bInterfaceClass=03
A: authorized=1

P: /devices/1-1/1-1:1.1
E: DEVTYPE=usb_interface
E: SUBSYSTEM=usb
A: bInterfaceClass=08
A: authorized=1

P: /devices/1-1/1-1:1.1/host6/block/sda
E: DEVTYPE=disk
E: SUBSYSTEM=block
E: DEVNAME=/dev/sda
E: MAJOR=8
E: MINOR=0
A: dev=8:0
END
    for flag in "" flag; do
        umockdev-run --device "$folder/devices" -- \
            env -u LD_PRELOAD unshare --mount "$0" "$1" inside $flag
    done
    exit
fi

mount -t tmpfs none /run
mkdir -p /run/udev/rules.d /run/upper/taloantivirus /run/work
cp "$1" /run/udev/rules.d/
mount -t overlay none -o lowerdir=/etc,upperdir=/run/upper,workdir=/run/work /etc
if [ "${3:-}" = flag ]; then
    touch /etc/taloantivirus/usb-storage-blocked
    stick=0 ignored=1
else
    stick=1 ignored=0
fi

export LD_PRELOAD=libumockdev-preload.so.0
device=/sys/devices/1-1
expect() { # what it is, what it should be
    [ "$1" = "$2" ] || { echo "with '${3:-}' it is $1 instead of $2: $4"; exit 1; }
}
for interface in 1-1:1.0 1-1:1.1; do
    udevadm test --action=add "$device/$interface" >/run/log 2>&1
    grep -q "rules.d/$(basename "$1")" /run/log || { echo "udev did not read the rule"; exit 1; }
    ! grep -i "$(basename "$1"):.*\(invalid\|unknown\|ignoring\)" /run/log
done
expect "$(cat "$device/1-1:1.0/authorized")" 1 "${3:-}" "the keyboard's authorisation"
expect "$(cat "$device/1-1:1.1/authorized")" "$stick" "${3:-}" "the stick's authorisation"
udevadm test --action=add "$device/1-1:1.1/host6/block/sda" >/run/log 2>&1
expect "$(grep -c '^UDISKS_IGNORE=1' /run/log || true)" "$ignored" "${3:-}" "what desktops are told"
# A driver that is bound, as when access is given back, is no arrival.
echo 1 | tee "$device/1-1:1.1/authorized" >/run/log
udevadm test --action=bind "$device/1-1:1.1" >/run/log 2>&1
expect "$(cat "$device/1-1:1.1/authorized")" 1 "${3:-}" "the authorisation after it was bound"
