#!/usr/bin/env bash
# Collects the texts of panel, programs and command line for translators.
# usage: translations.sh LANGUAGE [FILE]
# Makes or refreshes FILE, which is res/translations/taloantivirus_LANGUAGE.ts unless it is given.
set -euo pipefail
. "$(dirname "$0")/common.sh"

language=${1:?usage: translations.sh LANGUAGE [FILE]}
file=${2:-$root_dir/res/translations/taloantivirus_$language.ts}
install_packages translate
lupdate=$(PATH=/usr/lib/qt5/bin:$PATH command -v lupdate)
cd "$root_dir"
# A text that is marked and yet cannot be looked up is a mistake of ours: complaints are errors.
complaints=$("$lupdate" -silent -locations relative -source-language en -target-language "$language" \
    -I src -I engine src engine/client engine/programs -ts "$file" 2>&1 >/dev/null)
[ -z "$complaints" ] || fail "$complaints"
