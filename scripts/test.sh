#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test without a display.
# usage: scripts/test.sh [PRESET] [ctest arguments…]      PRESET: dev (default), asan, tsan
set -euo pipefail
. "$(dirname "$0")/common.sh"

preset=dev
case ${1:-} in
dev | asan | tsan)
    preset=$1
    shift
    ;;
esac

install_packages build test
build "$preset"
"$root_dir/scripts/lint.sh" --format

# A desktop's own bus and display must not take part.
unset DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS DBUS_SYSTEM_BUS_ADDRESS
ctest --preset "$preset" -j "$(nproc)" "$@"
