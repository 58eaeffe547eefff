#!/usr/bin/env bash
# Has systemd check the units in packaging, with the programs where they were built.
# usage: units.sh UNITS_DIR BIN_DIR
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
for unit in "$1"/taloantivirus-firewall.service; do
    sed "s,/usr/local/taloantivirus/bin,$2,; /^RequiresMountsFor=/d" "$unit" \
        >"$folder/$(basename "$unit")"
    # It ends well with keys that it does not know, and only says so.
    said=$(systemd-analyze verify --man=no "$folder/$(basename "$unit")" 2>&1 |
        grep -F "$(basename "$unit")" || true)
    [ -z "$said" ] || { echo "$said"; exit 1; }
done
