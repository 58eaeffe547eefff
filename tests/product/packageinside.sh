#!/usr/bin/env bash
# The life of the product on a machine: installed, used by two users, upgraded, removed, purged.
# Run by package.sh on a machine of the test's own.
set -euo pipefail
package=$1
. /run/steps.sh

logs() { tail -n 30 /run/bus.log /run/panel.log /run/xvfb.log 2>/dev/null || true; }
version() { talo --version | sed -n 's/^talo //p'; }
# An array of bytes, as busctl takes one.
bytes() { printf '%s ' "${#1}" && printf %s "$1" | od -An -v -tu1; }
# exclusion Add|Remove FOLDER
exclusion() {
    # shellcheck disable=SC2046
    expect 0 call Exclusions "$1" ayi $(bytes "$2") 401
    says '^i 0$'
}
# What the panel shows, and a click there. panelplaces.cpp says what is where.
shows() { grep -qE -- "^$1 .*${2:-}\$" /run/places/taloantivirus; }
click() {
    local where
    await "the panel has no $1 to click" shows "$1"
    where=$(sed -n "s/^$1 \([0-9]* [0-9]*\) .*/\1/p" /run/places/taloantivirus | head -n 1)
    # shellcheck disable=SC2086
    xdotool mousemove $where sleep 0.1 click 1
}
reported() { talo report list | grep -q "$1"; }
# Every file that a package could have left, but for what the package manager keeps for itself.
files() {
    find /boot /etc /opt /srv /usr /var -xdev \( -path /var/lib/dpkg -o -path /var/log \
        -o -path /var/cache \) -prune -o -print | sort
}
end() {
    kill "$1"
    while kill -0 "$1" 2>/dev/null; do sleep 0.05; done
}

make_users
plant_malware
mkdir -m 755 /run/dbus
mkdir -m 1777 -p /tmp/.X11-unix
cp /srv/papers/letter /run/sample
dbus-daemon --system --nofork --nopidfile --nosyslog 2>/run/bus.log &
bus=$!
await "the bus does not answer" dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.GetId
files >/run/before

step "install"
expect 0 dpkg -i "$package"
for user in talo-scan talo-update; do
    getent passwd $user | grep -q ':/usr/sbin/nologin$' || fail "no user $user without a shell"
done
[ "$(stat -c %a:%U $state)" = 700:root ] || fail "the state folder is not root's alone"
for unit in multi-user.target.wants/talod sysinit.target.wants/taloantivirus-firewall; do
    [ -L "/etc/systemd/system/$unit.service" ] || fail "$unit is not enabled"
done
[ -e /lib/udev/rules.d/71-taloantivirus-usb.rules ] || fail "there is no rule for USB storage"
for program in $(find /usr/local/taloantivirus/bin /usr/local/taloantivirus/libexec -type f); do
    ! ldd "$program" | grep 'not found' || fail "$program does not find its libraries"
done

step "activation by an ordinary user"
! service_pid >/dev/null || fail "the service runs already"
expect 0 as visitor talo status
first=$(service_pid) || fail "the service has not been started"
[ "$(stat -c %U "/proc/$first")" = root ] || fail "the service does not run as root"

step "what an ordinary user may and may not"
expect 2 as visitor talo scan /srv/papers
says 'may not'
[ -e /srv/papers/letter ] || fail "the refused scan has taken the file"
expect 1 as sitter talo scan /srv/papers
says '/srv/papers/letter'
[ ! -e /srv/papers/letter ] || fail "the file is still there"
workers=$(ps -C talo-scan-worker -o user:20=,uid= | sort -u)
[ "$(wc -l <<<"$workers")" = 1 ] && grep -q '^talo-scan ' <<<"$workers" ||
    fail "the workers run as $workers"
expect 1 as visitor busctl --system call $service /org/taloantivirus/Engine1 \
    $service.Settings Apply 'sa{si}' General 1 ScanArchives 0
says 'NotPermitted|may not'
expect 2 as visitor ls $state
expect 1 as visitor bash -c "kill $first"
says 'not permitted'

step "settings"
expect 0 call Settings Apply 'sa{si}' General 1 ScanArchives 0
expect 0 as visitor busctl --system call $service /org/taloantivirus/Engine1 \
    $service.Settings Get s General
says '"ScanArchives" 0'
printf '\n[Shredder]\nPasses = 2\n' >>/etc/taloantivirus/taloantivirus.conf

step "attacks of an ordinary user"
# What the service might be led to follow.
as visitor ln -s /srv/papers /home/visitor/link
for name in /tmp/talo-scan-planted /var/tmp/talo-update-planted; do
    as visitor ln -s /etc $name
done
as visitor mkdir -p /home/visitor/box
cp /run/sample /home/visitor/box/sample
chown visitor: /home/visitor/box/sample
expect 1 as sitter talo scan /home/visitor
id=$(talo quarantine list | awk '/box.sample/ { print $1 }')
as visitor bash -c 'rmdir ~/box && ln -s /etc ~/box'
expect 2 talo quarantine restore "$id"
[ ! -e /etc/sample ] || fail "a file was restored through a planted link"
picture() {
    call Settings Export
    call Password Exists
    for what in 'report list' 'quarantine list' 'schedule list'; do
        # shellcheck disable=SC2086
        talo $what
    done
    sha256sum /etc/passwd /etc/shadow /etc/taloantivirus/*
    find /srv /usr/local/taloantivirus /var/lib/taloantivirus /etc -newer /run/mark
}
touch /run/mark
talo schedule add nightly --full --daily --at 03:00 >/dev/null
picture >/run/before-attack
attacked=$(service_pid)
report=$(talo report list | sed -n 's/  .*//p' | head -n 1)
expect 0 as visitor /usr/bin/python3 /run/attack.py "$attacked" "$report" "$id"
[ "$(service_pid)" = "$attacked" ] || fail "the service did not live through it"
picture >/run/after-attack
diff /run/before-attack /run/after-attack || fail "something has changed"
expect 0 as visitor talo status
rm /tmp/talo-scan-planted /var/tmp/talo-update-planted

step "the panel of an ordinary user: a full scan, and settings"
# What would take minutes is left out, in the product's own way.
for folder in /*; do
    case $folder in
    /boot | /etc | /home | /srv | /tmp | /var) ;;
    *) [ -L "$folder" ] || left_out+=("$folder") ;;
    esac
done
left_out+=(/var/cache /var/lib)
for folder in "${left_out[@]}"; do
    exclusion Add "$folder"
done
cp /run/sample /srv/papers/letter
chmod 0600 /srv/papers/letter
install -d -m 0700 -o sitter /run/sitter /run/places
export DISPLAY=:99
Xvfb $DISPLAY -screen 0 1280x1024x24 -nolisten tcp -noreset >/run/xvfb.log 2>&1 &
display=$!
# Its socket is there before it answers.
await "there is no display" xdotool getdisplaygeometry
exec_as sitter DISPLAY=$DISPLAY XDG_RUNTIME_DIR=/run/sitter TALO_PLACES=/run/places \
    LD_PRELOAD=/run/libtalo_panel_places.so \
    /usr/local/taloantivirus/bin/taloantivirus >/run/panel.log 2>&1 &
panel=$!
await "the panel shows no window" xdotool search --onlyvisible --class taloantivirus
! reported 'Full Scan' || fail "there was a full scan already"
click btnScan
click btnFullScanBottom
await "no report of the full scan comes" reported 'Full Scan'
expect 0 talo report show "$(talo report list | sed -n 's/ *Full Scan.*//p')"
says '/srv/papers/letter'
[ ! -e /srv/papers/letter ] || fail "the full scan has left the file where it was"
end "$(pgrep -x FullScan)"
click '<_BACK'
click btnSettings
click btnGeneral
await "the setting is not shown as it is" shows btnScanPacked on
click btnScanPacked
await "the setting was not switched" shows btnScanPacked off
click btnApplyGeneral
click OK
expect 0 call Settings Get s General
says '"ScanPacked" 0'
end $panel
end $display

step "a full scan in the terminal"
id=$(talo quarantine list | awk '/papers.letter/ { print $1 }' | tail -n 1)
expect 0 talo quarantine restore "$id"
[ "$(stat -c %a:%U /srv/papers/letter)" = 600:root ] || fail "the file did not come back as it was"
expect 2 as visitor talo scan --full
expect 1 as sitter talo scan --full
says '/srv/papers/letter'
[ ! -e /srv/papers/letter ] || fail "the full scan has left the file where it was"

step "upgrade to a newer build"
older=$(version)
newer=$(dpkg-deb -f /run/newer/*.deb Version)
[ "$older" = "$(dpkg-deb -f "$package" Version)" ] || fail "the program says it is $older"
expect 0 dpkg -i /run/newer/*.deb
! kill -0 "$first" 2>/dev/null || fail "the service of the version before still runs"
[ "$(version)" = "$newer" ] || fail "after the upgrade the program says it is $(version)"
expect 0 as visitor talo status
says "version $newer "
second=$(service_pid)
[ "$second" != "$first" ] || fail "no new service was started"
expect 0 call Settings Get s General
says '"ScanArchives" 0'
says '"ScanPacked" 0'
expect 0 call Exclusions List
says '"/usr"'
for folder in "${left_out[@]}"; do
    exclusion Remove "$folder"
done
grep -q '^Passes = 2' /etc/taloantivirus/taloantivirus.conf || fail "the configuration was replaced"
expect 0 talo quarantine list
says '/srv/papers/letter'
id=$(awk '/papers.letter/ { print $1 }' /run/said | tail -n 1)
expect 0 talo quarantine restore "$id"
[ "$(stat -c %a:%U /srv/papers/letter)" = 600:root ] || fail "the file did not come back as it was"
expect 0 talo report list
says 'Full Scan'
expect 0 talo schedule list
says 'nightly'

step "a store of the first version is migrated"
end "$second"
mv $state/taloantivirus.db /run/newest.db
rm -f $state/taloantivirus.db*
/usr/bin/python3 - <<'END'
import re, sqlite3, time
steps = re.findall(r'R"sql\((.*?)\)sql"', open("/run/schema.h").read(), re.S)
store = sqlite3.connect("/var/lib/taloantivirus/taloantivirus.db")
store.executescript(steps[0])
now = int(time.time())
store.execute("INSERT INTO report (key, type, scanned, signatures, started, touched, outcome)"
              " VALUES ('2020-01-02 03:04:05', 'Custom', '/old', 'old', ?, ?, 1)", (now, now))
store.execute("PRAGMA user_version = 1")
store.commit()
END
expect 0 talo report list
says '2020-01-02'
end "$(service_pid)"
mv /run/newest.db $state/taloantivirus.db
rm -f $state/taloantivirus.db-*

step "remove"
expect 0 as visitor talo status
last=$(service_pid)
nft list tables >/dev/null || fail "the firewall cannot be asked"
/usr/local/taloantivirus/bin/talo-firewall-restore
nft list tables | grep -q taloantivirus || fail "the firewall was not put in place"
expect 0 dpkg -r taloantivirus
! kill -0 "$last" 2>/dev/null || fail "the removed service still runs"
! nft list tables | grep -q taloantivirus || fail "the firewall stands without its product"
[ -e $state/taloantivirus.db ] || fail "the store went with the programs"
[ -e /etc/taloantivirus/taloantivirus.conf ] || fail "the configuration went with the programs"
[ ! -e /usr/local/taloantivirus ] || fail "programs are left behind"
! ask_bus StartServiceByName || fail "the service can still be started"

step "purge"
expect 0 dpkg -P taloantivirus
files >/run/after
diff /run/before /run/after || fail "files are left behind"
[ -z "$(ls -A /var/tmp)" ] || fail "temporary files are left behind"
if pgrep -u 0 talod || pgrep talo-; then
    fail "a process is left behind"
fi
end $bus
echo "all is well"
