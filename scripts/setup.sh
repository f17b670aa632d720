# Sourced by ./run, ./test and .ci/run: the tools that a job needs, from Debian's own packages.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

# need PACKAGE...: installs those of the packages that the machine doesn't have, and says so.
need() {
    local missing=() package
    for package in "$@"; do
        if ! dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0
        -o DPkg::Lock::Timeout=600)
    [ "$(id -u)" -eq 0 ] || apt=(sudo -n "${apt[@]}")
    echo "Installing ${missing[*]}" >&2
    local log
    log=$(mktemp)
    if ! { "${apt[@]}" update && "${apt[@]}" install -y --no-install-recommends "${missing[@]}"; } \
        </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "Could not install ${missing[*]}" >&2
        return 1
    fi
    rm -f "$log"
}

# What it takes to build the library, the examples and the tools.
need_for_build() {
    need cmake g++ ninja-build libcli11-dev nlohmann-json3-dev
}

# The broker that messages are carried over, and its client library. A package of a service starts
# it when it comes in; that is put off, as the broker here is one of the project's own.
need_broker() {
    local policy=/usr/sbin/policy-rc.d status=0 ours=no
    need pkg-config librabbitmq-dev
    if ! command -v rabbitmq-server >/dev/null && [ ! -e "$policy" ] && [ "$(id -u)" -eq 0 ]; then
        printf '#!/bin/sh\nexit 101\n' >"$policy"
        chmod 755 "$policy"
        ours=yes
    fi
    need rabbitmq-server || status=$?
    [ "$ours" = no ] || rm -f "$policy"
    return "$status"
}

# quietly COMMAND...: shows the command's output only if it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" </dev/null >"$log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        cat "$log" >&2
    fi
    rm -f "$log"
    return "$status"
}

# build DIRECTORY TARGET [OPTION...]: configures a build below build/ and makes one target of it.
build() {
    local directory="$root/build/$1" target=$2
    shift 2
    quietly cmake -S "$root" -B "$directory" -G Ninja "$@" &&
        quietly cmake --build "$directory" --target "$target" --parallel "$jobs" -- --quiet
}
