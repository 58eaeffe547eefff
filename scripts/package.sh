#!/usr/bin/env bash
# Makes the Debian package, below build/release/package, and prints its path.
# usage: package.sh [PRESET]
set -euo pipefail
. "$(dirname "$0")/common.sh"

preset=${1:-release}
install_packages build package
build "$preset" >&2
cd "$root_dir/build/$preset"
rm -rf package
cpack --config CPackConfig.cmake >/dev/null
ls "$PWD"/package/*.deb
