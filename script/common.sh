# Shared by the scripts beside it; sourced, never run. Leaves the caller in the root of the tree.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
logs=$root/build/logs
mkdir -p "$logs"

# Rendezvous port of the pen service; the library knows no other.
readonly rendezvous_port=3715

say() { printf '%s\n' "$*"; }
die() {
    printf '%s\n' "$*" >&2
    exit 1
}

# A log's name for a step: "windows: unit" becomes windows-unit.log.
log_of() { printf '%s/%s.log' "$logs" "$(tr -cs 'A-Za-z0-9\n' - <<<"$1")"; }

# The lines of a log that tell why a step failed, or its end when none stands out.
show_failure() {
    local log=$1 found
    found=$(grep -nE -A6 '(^|[ :])(fatal )?[Ee]rror[: ]|FAILED|not ok|ERROR: |undefined reference' "$log" | head -n 60 || true)
    if [ -n "$found" ]; then
        printf '%s\n' "$found" | sed 's/^/    | /'
    else
        tail -n 40 "$log" | sed 's/^/    | /'
    fi
    say "    whole log: $log"
}

# port_in_use PORT: whether something on this machine accepts connections there.
port_in_use() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

need_rendezvous_port() {
    if port_in_use "$rendezvous_port"; then
        die "Port $rendezvous_port on 127.0.0.1 is in use, probably by a pen service that is running." \
            "Stop it and start again (\"ss -ltnp 'sport = :$rendezvous_port'\" tells which program it is)."
    fi
}

# Starts the calling script again in a network namespace of its own, where that is permitted:
# port 3715 is free there, and nothing that listens on this machine can be disturbed.
enter_own_network() {
    [ -z "${ZEL_TEST_OWN_NETWORK:-}" ] || return 0
    local unshare=(unshare --net)
    [ "$(id -u)" = 0 ] || unshare+=(--map-root-user)
    if "${unshare[@]}" ip link set lo up 2>/dev/null; then
        ZEL_TEST_OWN_NETWORK=1 exec "${unshare[@]}" -- sh -c 'ip link set lo up && exec "$@"' sh "$0" "$@"
    fi
    say "No network namespace to be had: this machine's port $rendezvous_port is used."
    need_rendezvous_port
}

# What several builds compile alike, such as those of the packages, is compiled once: the names of their folders, which
# the compiler is told to leave out of what it makes, are no difference.
share_compilations() {
    [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] || return 0
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_DIR=$root/build/ccache \
        CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros \
        CCACHE_IGNOREOPTIONS='-ffile-prefix-map=*'
}

configure() { cmake --preset "$1" -DZEL_UNITY=ON "-DZEL_BUILD_SLOW_TESTS=${slow_tests:-ON}"; }

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    configure "$preset"
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
