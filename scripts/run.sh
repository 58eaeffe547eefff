#!/usr/bin/env bash
# Installs what is missing, builds, installs the product, starts its engine and opens the panel.
# Without a display it runs a quick scan in the terminal instead and shows its report.
set -euo pipefail
. "$(dirname "$0")/common.sh"

service=org.taloantivirus.Engine1

# Everything below runs on a message bus: the desktop's, or one of our own.
if [ "${1:-}" != --on-bus ]; then
    install_packages build run
    build release
    say "Installing to $prefix"
    as_root cmake --install "$root_dir/build/release" >/dev/null
    # Asked for a bus that is not there, dbus-send would launch one of its own beside a display.
    if [ -n "${DBUS_SESSION_BUS_ADDRESS:-}" -o -S "${XDG_RUNTIME_DIR:-/nonexistent}/bus" ] &&
        dbus-send --session --dest=org.freedesktop.DBus --print-reply / \
        org.freedesktop.DBus.GetId >/dev/null 2>&1; then
        exec "$root_dir/scripts/run.sh" --on-bus
    fi
    exec dbus-run-session -- "$root_dir/scripts/run.sh" --on-bus
fi

bus() {
    dbus-send --session --dest=org.freedesktop.DBus --print-reply=literal / \
        "org.freedesktop.DBus.$1" string:"$service" 2>/dev/null
}

# An engine of an earlier build would keep its name on the bus and its old code.
if old=$(bus GetConnectionUnixProcessID); then
    kill "${old##* }"
    while bus GetNameOwner >/dev/null; do sleep 0.1; done
fi

say "Starting the engine"
export TALO_BUS=session
log=$(mktemp -t talod.XXXXXX.log)
setsid "$prefix/bin/talod" --bus session </dev/null >"$log" 2>&1 &
engine=$!
until bus GetNameOwner >/dev/null; do
    kill -0 "$engine" 2>/dev/null || fail "The engine did not start: $(cat "$log")"
    sleep 0.05
done

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    say "Opening the panel (the engine's log: $log)"
    "$prefix/bin/taloantivirus"
else
    say "No display: a quick scan in the terminal"
    result=0
    "$prefix/bin/QuickScan" / 3 || result=$?
    # To the end: who stops reading early makes the writer fail, and this script with it.
    latest=$("$prefix/bin/talo" report list | sed -n '1s/^\(.\{19\}\).*/\1/p')
    "$prefix/bin/talo" report show "$latest"
    exit "$result"
fi
