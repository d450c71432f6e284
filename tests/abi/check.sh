#!/usr/bin/env bash
# Whether hosts that were built with an earlier release run on: what libabigail sees in the debug information, and a host
# that is built against the header of 1.0.0.
#
#   tests/abi/check.sh native
#   tests/abi/check.sh windows [RUNNER...]
#   tests/abi/check.sh --move
#
# Run in the root of the tree, after that build and the native one, whose pensim serves both. RUNNER starts the
# programs (Wine). --move writes the baseline anew, which a release does that adds functions; what a host relies on never
# changes within a major version.
source tests/checks/cases.sh

library=build/native/libzel.so
baseline=tests/abi/1.0.0/libzel.so.abi
mingw=x86_64-w64-mingw32

if [ "$1" = --move ]; then
    abidw --exported-interfaces-only --drop-private-types --headers-dir include --no-corpus-path --no-comp-dir-path --no-show-locs "$library" >"$baseline"
    exit
fi
platform=$1
shift

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The baseline knows nothing private. Told where the headers are, abidiff would take today's record for private, too.
unchanged() { abidiff --exported-interfaces-only --no-added-syms "$baseline" "$library"; }

released_names() { sed -n "s/.*<elf-symbol name='\(zel[A-Za-z]*\)'.*/\1/p" "$baseline"; }
exported_by_dll() { $mingw-objdump -p build/windows/zel.dll | awk '/^\[Ordinal\/Name Pointer\]/ { on = 1; next } on && NF == 0 { exit } on { print $NF }'; }

strict=(-std=c99 -Wall -Wextra -Werror -Itests/abi/1.0.0)
old_host() { gcc "${strict[@]}" -o "$scratch/old_host" tests/abi/old_host.c -Lbuild/native -lzel; }
# By an import library of that release's names, all of which the loader then wants.
old_host_for_windows() {
    { echo EXPORTS && released_names; } >"$scratch/zel.def" &&
        { released_names | sed 's/.*/extern char &[]; char *use_&(void) { return &; }/'; } >"$scratch/all.c" &&
        $mingw-dlltool --dllname zel.dll --input-def "$scratch/zel.def" --output-lib "$scratch/libzel.dll.a" &&
        $mingw-gcc "${strict[@]}" -static -o "$scratch/old_host.exe" tests/abi/old_host.c "$scratch/all.c" "$scratch/libzel.dll.a" -pthread
}

with_pensim() {
    local pensim status
    build/native/bin/pensim --ready-file "$scratch/ready" </dev/null >"$scratch/pensim.log" 2>&1 &
    pensim=$!
    ready "$scratch/ready" "$pensim" "$scratch/pensim.log" && "$@"
    status=$?
    kill "$pensim"
    wait "$pensim"
    return "$status"
}

runner=("$@")
case $platform in
    native)
        expect "libzel.so is what hosts of 1.0.0 were linked with" unchanged
        expect "a host builds against the header of 1.0.0" old_host
        expect "that host runs on the library of today" \
            with_pensim env LD_LIBRARY_PATH=build/native timeout 60 "$scratch/old_host"
        ;;
    windows)
        expect "zel.dll exports what 1.0.0 did" within "$(released_names)" "$(exported_by_dll)"
        expect "a host for Windows builds against the header and the names of 1.0.0" old_host_for_windows
        expect "that host runs on the DLL of today" \
            with_pensim timeout 60 "${runner[@]}" "$scratch/old_host.exe"
        ;;
esac
end_cases
