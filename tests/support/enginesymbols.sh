#!/bin/sh
# Checks that two libraries export the same engine operations: enginesymbols.sh SCRIPTED REAL.
# The scripted one's own controls and the weak symbols of the C++ library are not operations.
set -eu

operations() {
    nm -DC --defined-only "$1" | awk '$2 == "T"' | cut -d' ' -f3- | grep -v '^talo::test::' | sort
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
operations "$1" > "$folder/scripted"
operations "$2" > "$folder/real"
test -s "$folder/real" || { echo "no operation found in $2"; exit 1; }
diff -u "$folder/real" "$folder/scripted"
