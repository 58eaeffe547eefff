#!/usr/bin/env bash
# Holds the arrows between the rooms of the sources: each may include only what it is allowed to.
# usage: layers.sh SOURCE_DIR COMPILE_COMMANDS
set -euo pipefail
commands=$2
cd "$1"

# room: what its includes may begin with, beside its own folder
declare -A allowed=(
    [src/engine]='engine/'
    [src/pages]='pages/ engine/'
    [src/language]='language/'
    [src/app]='app/ pages/ engine/ language/'
    [engine/interface]='interface/'
    [engine/files]='files/'
    [engine/update]='update/ files/'
    [engine/store]='store/'
    [engine/schedule]='schedule/'
    [engine/scan]='scan/ files/'
    [engine/worker]='worker/ scan/workerprotocol.h scan/priority.h'
    [engine/disinfect]='disinfect/ worker/confinement.h worker/isolation.h
        scan/disinfectprotocol.h'
    [engine/update]='update/ files/'
    [engine/client]='client/ engine/ interface/ files/'
    [engine/guard]='guard/ files/'
    [engine/service]='service/ interface/ files/ guard/ scan/ schedule/ store/ update/'
    [engine/programs]='programs/ client/ interface/ engine/ language/ pages/viewreport.h pages/screencentre.h
        pages/boxes.h pages/signatureupdate.h pages/sigupdatethread.h pages/textbutton.h'
)

wrong=0
for room in "${!allowed[@]}"; do
    [ -d "$room" ] || { echo "no such room: $room"; wrong=1; continue; }
    while IFS=: read -r file line include; do
        target=$(sed -E 's/.*"([^"]+)".*/\1/' <<<"$include")
        case $target in
        */*) ;;
        *) continue ;; # generated stubs and moc output
        esac
        ok=
        for prefix in ${allowed[$room]}; do
            case $target in "$prefix"*) ok=1 ;; esac
        done
        [ -n "$ok" ] || { echo "$file:$line: $room must not include $target"; wrong=1; }
    done < <(grep -rnE '^#include "' "$room" --include='*.h' --include='*.cpp' || true)
done

# Content is parsed in one program, and no part of the engine but the programs draws windows.
if grep -rlE '#include <clamav\.h>' src engine | grep -v '^engine/worker/'; then
    echo "only engine/worker may use libclamav"
    wrong=1
fi
if grep -rlE '#include <archive(_entry)?\.h>' src engine | grep -v '^engine/disinfect/'; then
    echo "only engine/disinfect may use libarchive"
    wrong=1
fi
if grep -rlE '#include <Q(Application|Widget|MainWindow|Dialog|MessageBox)' engine |
    grep -v '^engine/programs/'; then
    echo "only engine/programs may use widgets"
    wrong=1
fi
if grep -rlE '#include <Q[A-Z]|Qt5::' engine/files engine/guard engine/store engine/schedule \
    engine/scan engine/worker engine/disinfect engine/update; then
    echo "these rooms do without Qt"
    wrong=1
fi

# A test that no build file names would be green for ever.
while read -r file; do
    grep -qF "/$file\"" "$commands" || { echo "$file is not built"; wrong=1; }
done < <(find tests -name '*.cpp')
exit $wrong
