#!/usr/bin/env bash
# Whether hosts that were built with an earlier release run on: what libabigail sees in the debug information, and a host
# that is built against the header of 1.0.0.
#
#   tests/abi/check.sh [--move]
#
# Run in the root of the tree, after the native build. --move writes the baseline anew, which a release does that adds
# functions; what a host relies on never changes within a major version.
source tests/checks/cases.sh

library=build/native/libzel.so
baseline=tests/abi/1.0.0/libzel.so.abi
public=(--exported-interfaces-only --drop-private-types)

if [ "${1:-}" = --move ]; then
    abidw "${public[@]}" --headers-dir include --no-corpus-path --no-comp-dir-path --no-show-locs "$library" >"$baseline"
    exit
fi

scratch=$(mktemp -d)
pensim=
trap '[ -z "$pensim" ] || kill "$pensim"; rm -rf "$scratch"' EXIT

unchanged() { abidiff "${public[@]}" --headers-dir2 include --no-added-syms "$baseline" "$library"; }

old_host() {
    gcc -std=c99 -Wall -Wextra -Werror -Itests/abi/1.0.0 -o "$scratch/old_host" tests/abi/old_host.c -Lbuild/native -lzel
}

with_pensim() {
    build/native/bin/pensim --ready-file "$scratch/ready" </dev/null >"$scratch/pensim.log" 2>&1 &
    pensim=$!
    for _ in {1..100}; do
        [ -e "$scratch/ready" ] && break
        sleep 0.1
    done
    LD_LIBRARY_PATH=build/native timeout 60 "$scratch/old_host"
}

expect "libzel.so is what hosts of 1.0.0 were linked with" unchanged
expect "a host builds against the header of 1.0.0" old_host
expect "that host runs on the library of today" with_pensim
end_cases
