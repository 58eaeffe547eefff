#!/usr/bin/env bash
# Holds the sources to clang-format and clang-tidy.
# usage: scripts/lint.sh [--format] [FILE…]     --format: to clang-format alone, which takes a second
set -euo pipefail
. "$(dirname "$0")/common.sh"
cd "$root_dir"

what=all
if [ "${1:-}" = --format ]; then
    what=format
    shift
fi
# Not asked of git, which who unpacked an archive of the sources need not have.
sources() { find . -path ./build -prune -o -name "$1" -printf '%P\n' | sort; }
if [ $# -eq 0 ]; then
    mapfile -t files < <(sources '*.cpp'; sources '*.h')
else
    files=("$@")
fi
clang-format --dry-run --Werror "${files[@]}"
[ "$what" = all ] || exit 0

# Only what changed since the last clean run is looked at again: a stamp for each source, named
# after the content of all sources and headers it could see.
stamps=$root_dir/build/lint
mkdir -p "$stamps"
headers=$( (sources '*.h'; echo .clang-tidy) | xargs sha256sum | sha256sum | cut -c1-16)
todo=()
for file in "${files[@]}"; do
    case $file in
    cmake/sanitizers/*) continue ;; # compiled only where a sanitizer is on
    *.cpp) ;;
    *) continue ;;
    esac
    stamp=$stamps/$(sha256sum "$file" | cut -c1-32).$headers
    [ -e "$stamp" ] || todo+=("$file:$stamp")
done
[ ${#todo[@]} -eq 0 ] && exit 0

printf '%s\n' "${todo[@]}" | xargs -P "$(nproc)" -I{} bash -c '
    pair=$1
    clang-tidy -p build/dev --quiet "${pair%%:*}" 2>/dev/null && touch "${pair#*:}"' _ {}
