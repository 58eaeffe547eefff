#!/usr/bin/env bash
# Has the package judged by the tools that know its parts: lintian, and those for desktop files,
# AppStream, systemd, polkit, manual pages and shell scripts. Reads what they say, since not all of
# them end with a failure.
# usage: packagevalid.sh PACKAGE-FOLDER
set -euo pipefail
package=$(echo "$1"/*.deb)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
wrong=0

# Fails where the command does, or says anything.
silent() {
    local said
    said=$("$@" 2>&1) && [ -z "$said" ] && return
    echo "$*: $said"
    wrong=1
}

# It leaves files of its own in the temporary place.
said=$(TMPDIR=$folder lintian --allow-root --fail-on none "$package" 2>&1)
[ -z "$said" ] || { echo "$said"; wrong=1; }

dpkg-deb -x "$package" "$folder"
dpkg-deb -e "$package" "$folder/control"
for file in "$folder"/usr/share/applications/* "$folder"/etc/xdg/autostart/*; do
    silent desktop-file-validate "$file"
done
for file in "$folder"/usr/share/metainfo/*; do
    appstreamcli validate --no-net "$file" >"$folder/said" || { cat "$folder/said"; wrong=1; }
done
for file in "$folder"/usr/share/polkit-1/actions/*; do
    silent xmllint --noout --nonet --nowarning \
        --dtdvalid /usr/share/polkit-1/policyconfig-1.dtd "$file"
done
silent xmllint --noout --nonet "$folder"/usr/share/dbus-1/system.d/*
for file in "$folder"/usr/share/man/man*/*; do
    MANROFFSEQ='' MANWIDTH=100 LC_ALL=C.UTF-8 \
        man --warnings -E UTF-8 -l -Tutf8 -Z "$file" 2>"$folder/said" >/dev/null || wrong=1
    [ ! -s "$folder/said" ] || { cat "$folder/said"; wrong=1; }
done
silent bash -n "$folder/usr/share/bash-completion/completions/talo"
for script in postinst prerm postrm; do
    silent sh -n "$folder/control/$script"
done

# One address for everything that somebody could have to write about.
maintainer=$(dpkg-deb -f "$package" Maintainer)
zcat "$folder/usr/share/doc/taloantivirus/changelog.gz" | grep -qF -- "-- $maintainer  " ||
    { echo "the changelog does not name $maintainer"; wrong=1; }

# Units: with the programs where the package has them.
for unit in "$folder"/lib/systemd/system/*.service; do
    cp "$unit" "$folder/control"
    unit=$folder/control/$(basename "$unit")
    sed -i "s,/usr/local/taloantivirus/bin,$folder/usr/local/taloantivirus/bin,
            /^RequiresMountsFor=/d" "$unit"
    said=$(systemd-analyze verify --man=no "$unit" 2>&1 | grep -F "$(basename "$unit")" || true)
    [ -z "$said" ] || { echo "$said"; wrong=1; }
done
# What a change of the unit costs is to be seen here. The figure is told in docs/security.md.
systemd-analyze security --offline=yes --threshold=58 --no-pager \
    "$folder/control/talod.service" >"$folder/said" 2>&1 || { cat "$folder/said"; wrong=1; }
tail -n 1 "$folder/said"

# Every command that "talo help" tells of is in the manual page and the completion.
product=$folder/usr/local/taloantivirus
commands=$(LD_LIBRARY_PATH=$product/lib "$product/bin/talo" help |
    sed -nE 's/^  ([a-z]+),? .*/\1/p' | sort -u)
[ "$(wc -w <<<"$commands")" -ge 8 ] || { echo "talo help tells of no commands"; wrong=1; }
for command in $commands; do
    zcat "$folder/usr/share/man/man1/talo.1.gz" | grep -qE "^\.B.*\b$command\b" ||
        { echo "talo(1) does not know \"$command\""; wrong=1; }
    grep -qw "$command" "$folder/usr/share/bash-completion/completions/talo" ||
        { echo "the completion does not know \"$command\""; wrong=1; }
done
exit $wrong
