# What the scripts of this folder share. Sourced, not run.

root_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
prefix=/usr/local/taloantivirus

say() { printf '\033[1m%s\033[0m\n' "$*" >&2; }
fail() { printf '%s\n' "$*" >&2; exit 2; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "This step needs root, and sudo is not there: $*"
    fi
}

# Installs the packages of the given groups that are missing; asks nothing of a machine that has
# them all, so that it also works without a network.
install_packages() {
    local group package missing=()
    while read -r group package; do
        case " $* " in
        *" $group "*) ;;
        *) continue ;;
        esac
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done < <(grep -v '^#' "$root_dir/scripts/packages.txt")
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null ||
        fail "Missing, and this is no Debian to install it from: ${missing[*]}"
    say "Installing ${missing[*]}"
    as_root apt-get -qq -o DPkg::Lock::Timeout=500 update
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -y -o DPkg::Lock::Timeout=500 \
        --no-install-recommends install "${missing[@]}" >/dev/null
}

# build PRESET [TARGET…]
build() {
    local preset=$1
    shift
    cd "$root_dir"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
