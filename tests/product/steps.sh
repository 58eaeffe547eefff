# shellcheck shell=bash
# What the tests of the installed package do over and over. To be sourced on the machine of the test.
service=org.taloantivirus.Engine1
state=/var/lib/taloantivirus

step() { printf '== %s s: %s\n' "$SECONDS" "$*"; }
# Says with it what the test's logs() prints.
fail() {
    printf 'FAILED: %s\n' "$*"
    tail -n 30 /run/said 2>/dev/null || true
    logs
    exit 1
}
# expect CODE COMMAND…: what it says is in /run/said.
expect() {
    local wanted=$1 code=0
    shift
    "$@" >/run/said 2>&1 || code=$?
    [ "$code" = "$wanted" ] || fail "$* ended with $code, not $wanted"
}
says() { grep -qE -- "$1" /run/said || fail "\"$1\" was not said"; }
await() {
    local what=$1 tries=300
    shift
    until "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        [ $tries -gt 0 ] || fail "$what"
        sleep 0.1
    done
}
exec_as() {
    local user=$1
    shift
    exec setpriv --reuid "$user" --regid "$user" --init-groups --reset-env -- \
        env PATH=/usr/bin:/bin LC_ALL=C.UTF-8 "$@"
}
as() { (exec_as "$@"); }
ask_bus() {
    dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus / \
        "org.freedesktop.DBus.$1" "string:$service" 2>/dev/null
}
service_pid() {
    local answer
    answer=$(ask_bus GetConnectionUnixProcessID) && echo "${answer##* }"
}
call() { busctl --system call $service /org/taloantivirus/Engine1 "$service.$1" "${@:2}"; }

# Two users, one of whom stands for the one who sits at the machine, which only a login manager could
# tell; and malware where only root may read.
make_users() {
    useradd --create-home sitter
    useradd --create-home visitor
    cat >/etc/polkit-1/rules.d/10-sitter.rules <<'END'
polkit.addRule(function(action, subject) {
    var sits = ["org.taloantivirus.scan", "org.taloantivirus.change-settings"];
    if (sits.indexOf(action.id) >= 0 && subject.user == "sitter")
        return polkit.Result.YES;
});
END
}
plant_malware() {
    mkdir /srv/papers
    chmod 0700 /srv/papers
    printf '%s%s' 'X5O!P%@AP[4\PZX54(P^)7CC)7}$EICAR-STANDARD-' 'ANTIVIRUS-TEST-FILE!$H+H*' \
        >/srv/papers/letter
    chmod 0600 /srv/papers/letter
}
