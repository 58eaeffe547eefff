#!/usr/bin/env bash
# The product under systemd: its service confined by its own unit, ended and started anew, and the
# machine's next start. Run by systemd.sh on a machine of the test's own, once for each start.
set -euo pipefail
here=$(dirname "$0")
. "$here/steps.sh"

logs() { journalctl --no-pager -u talod -u taloantivirus-firewall -u dbus | tail -n 40; }
show() { systemctl show --value -p "$1" talod.service; }
active() { [ "$(systemctl is-active "$1")" = active ]; }
of_status() { sed -n "s/^$1:[[:space:]]*//p" "/proc/$2/status"; }
firewall_is_up() { nft list tables | grep -q taloantivirus; }

first_start() {
    make_users
    plant_malware

    step "install"
    expect 0 dpkg -i "$here"/*.deb
    active talod || fail "the service has not been started"
    for unit in talod taloantivirus-firewall; do
        [ "$(systemctl is-enabled $unit)" = enabled ] || fail "$unit is not enabled"
    done
    local pid
    pid=$(service_pid)
    [ "$(show MainPID)" = "$pid" ] || fail "the service on the bus is not systemd's"

    step "confined as its unit says"
    [ "$(of_status NoNewPrivs "$pid")" = 1 ] || fail "it may gain rights"
    [ "$(of_status Seccomp "$pid")" = 2 ] || fail "its system calls are not filtered"
    local capabilities=$((16#$(of_status CapBnd "$pid")))
    # CAP_SYS_MODULE, CAP_SYS_RAWIO, CAP_SYS_BOOT, CAP_SYS_TIME, CAP_BPF
    for capability in 16 17 22 25 39; do
        ((!(capabilities >> capability & 1))) || fail "it has capability $capability"
    done
    [ "$(cat "/proc/$pid/oom_score_adj")" = 200 ] || fail "its memory is dearer than others'"
    grep -qE '^Max core file size +0 ' "/proc/$pid/limits" || fail "it leaves core files"
    [ "$(stat -c %a:%U $state)" = 700:root ] || fail "the state folder is not root's alone"

    step "what it is for, so confined"
    expect 1 as sitter talo scan /srv/papers
    says '/srv/papers/letter'
    [ ! -e /srv/papers/letter ] || fail "the malware is still there"
    grep -q '/talod.service$' "/proc/$(pgrep -o -x talo-scan-worke)/cgroup" ||
        fail "the workers are not of the service's control group"
    expect 0 talo quarantine restore "$(talo quarantine list | awk '/letter/ { print $1 }')"
    [ "$(stat -c %a:%U /srv/papers/letter)" = 600:root ] || fail "the malware did not come back"
    expect 0 call Settings Apply 'sa{si}' Firewall 1 On 1
    expect 0 call Settings NotifyChange
    await "the firewall is not up" firewall_is_up
    expect 2 talo update signatures
    says 'network|server|connect'

    step "killed"
    kill -KILL "$pid"
    await "it was not started anew" bash -c \
        "[ \"\$(systemctl show --value -p MainPID talod)\" != $pid ] && systemctl -q is-active talod"
    await "a process of the killed one lives on" bash -c \
        "[ \"\$(cat /sys/fs/cgroup/system.slice/talod.service/cgroup.procs)\" = \
            \"\$(systemctl show --value -p MainPID talod)\" ]"
    expect 0 as visitor talo status
    firewall_is_up || fail "the firewall went with the service"
    expect 0 talo report list
    says '2[0-9]{3}-'

    step "its log"
    # "secret", twice, and "sesame".
    expect 0 call Password Create ayay 6 115 101 99 114 101 116 6 115 101 99 114 101 116
    says '^i 0'
    expect 0 call Password Validate ay 6 115 101 115 97 109 101
    says 'false'
    journalctl --sync
    journalctl -u talod -o json --no-pager >/run/journal
    grep -q '"SYSLOG_IDENTIFIER":"talod"' /run/journal || fail "nothing in the journal is talod's"
    grep -q '"PRIORITY":"[345]"' /run/journal || fail "nothing in the journal has a severity"
    ! grep -E 'secret|sesame' /run/journal || fail "a password is in the journal"
    ! grep -E '"PRIORITY":"[0-3]"' /run/journal || fail "something went wrong, says the journal"

    step "stopped, and asked for again"
    expect 0 systemctl stop talod
    expect 0 as visitor talo status
    active talod || fail "the bus started another service than systemd's"
}

second_start() {
    step "the machine starts with its firewall"
    active taloantivirus-firewall || fail "the unit of the firewall has not run"
    firewall_is_up || fail "the firewall is not up"
    local raised started
    raised=$(systemctl show --value -p ExecMainExitTimestampMonotonic taloantivirus-firewall)
    started=$(systemctl show --value -p ActiveEnterTimestampMonotonic talod)
    [ "$raised" -lt "$started" ] || fail "the firewall waited for the service"
    systemctl show --value -p Before taloantivirus-firewall | grep -qw network-pre.target ||
        fail "the network may be up before the firewall"
    active talod || fail "the service has not been started"
    expect 0 talo report list
    says '2[0-9]{3}-'

    step "remove and purge"
    local pid
    pid=$(service_pid)
    expect 0 dpkg -P taloantivirus
    [ ! -e "/proc/$pid" ] || fail "the service still runs"
    ! firewall_is_up || fail "the firewall stands without its product"
    [ "$(systemctl show --value -p LoadState talod)" = not-found ] || fail "the unit is left behind"
    ! ask_bus StartServiceByName || fail "the service can still be started"
    [ ! -e $state ] || fail "the state is left behind"
    [ -z "$(find /etc/systemd/system -name '*talo*' ! -name 'talo-test*')" ] ||
        fail "a unit is still enabled"
}

"$(cat "$here/boot")_start"
