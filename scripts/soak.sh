#!/usr/bin/env bash
# Builds the service and uses it for so many minutes: scans, changes, updates and kills at random.
# Fails where anything is lost, left behind or grows. Needs root.
# usage: scripts/soak.sh [MINUTES=60] [options of tests/product/soak/soak.py]
set -euo pipefail
. "$(dirname "$0")/common.sh"

minutes=${1:-60}
shift || true
install_packages build test
build dev talod talo talo-scan-worker talo-disinfect
as_root "$root_dir/tests/product/soak/machine.sh" "$root_dir/build/dev" "$root_dir" \
    --minutes "$minutes" "$@"
