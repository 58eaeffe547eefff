#!/usr/bin/env bash
# No program of the product links OpenSSL, whose licence does not go with GPL-2.0-only.
# usage: licences.sh BUILD_DIR
set -euo pipefail
shopt -s nullglob

found=0 wrong=0
for program in "$1"/bin/* "$1"/lib/*.so "$1"/libexec/*; do
    needed=$(readelf -d "$program" 2>/dev/null | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p') || continue
    [ -n "$needed" ] || continue
    found=$((found + 1))
    # libcurl.so.4 is the one built with OpenSSL.
    while read -r library; do
        echo "$program links $library"
        wrong=1
    done < <(grep -E '^(libcrypto|libssl|libcurl)\.so' <<<"$needed" || true)
done
[ "$found" -gt 0 ] || { echo "no program found in $1"; exit 1; }
exit $wrong
