#!/usr/bin/env bash
# Builds the fuzz targets and runs each of them for so many seconds, as many at a time as there are
# cores. Fails on a finding, which it leaves in fuzz/found/TARGET: with the mended parser it goes into
# the repository, and ctest replays it from then on.
# usage: scripts/fuzz.sh [SECONDS=60] [TARGET…]
set -euo pipefail
. "$(dirname "$0")/common.sh"

seconds=${1:-60}
shift || true
install_packages build fuzz
build fuzz
cd "$root_dir"
[ $# -gt 0 ] || set -- $(find build/fuzz/fuzz -maxdepth 1 -name 'fuzz_*' -type f -executable -printf '%f\n' |
    sed 's/^fuzz_//' | sort)

run_one() { # TARGET SECONDS
    local target=$1 work=build/fuzz/work/$1
    mkdir -p "$work" "fuzz/found/$target"
    # What grew in earlier runs is kept below build; the seeds stay as they are.
    if LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen \
        ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 \
        UBSAN_OPTIONS=print_stacktrace=1 "build/fuzz/fuzz/fuzz_$target" \
        -max_total_time="$2" -timeout=10 -rss_limit_mb=2048 -max_len=8192 -print_final_stats=1 \
        -artifact_prefix="fuzz/found/$target/" "$work" "fuzz/corpus/$target" "fuzz/found/$target" \
        >"build/fuzz/$target.log" 2>&1; then
        printf '%-18s %s runs\n' "$target" \
            "$(sed -n 's/^stat::number_of_executed_units: //p' "build/fuzz/$target.log")"
    else
        printf '%-18s FOUND SOMETHING: build/fuzz/%s.log\n' "$target" "$target"
        return 1
    fi
}
export -f run_one
printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} bash -euo pipefail -c 'run_one {} '"$seconds" ||
    fail "Something was found, see above."
