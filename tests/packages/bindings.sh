#!/usr/bin/env bash
# Tries the packages for Python and .NET as somebody who has nothing else: the wheel in a fresh virtual environment, the
# NuGet package's assembly and library beside a host of its own.
#
#   tests/packages/bindings.sh FOLDER PENSIM [SUFFIX]
#
# Run in the root of the tree. FOLDER holds what packaging/bindings made, with the suffix behind the version; PENSIM starts
# the simulated pen service.
source tests/checks/cases.sh

folder=$(realpath "$1") pensim=$(realpath "$2")
scratch=$(mktemp -d)
service=
trap '[ -z "$service" ] || kill "$service"; rm -rf "$scratch"' EXIT
export LC_ALL=C.UTF-8
version=$(sed -n 's/^project(zel VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)${3:-}
pen=AKZ-AQ7-APS-AC # of the built-in scenario; holds eight pages, two of them the stylo's
eight="8 pages of $pen in $scratch/pages.zel"

# alone COMMAND...: with nothing in the environment that could help, and far from the tree.
alone() { (cd "$scratch" && env -i PATH=/usr/bin:/bin HOME="$scratch" LC_ALL=C.UTF-8 "$@"); }
# prints TEXT COMMAND...: whether that is all that the command prints.
prints() {
    local text=$1
    shift
    diff <(printf '%s\n' "$text") <("$@" 2>&1)
}
holds() { unzip -Z1 "$1" | sed "s/^zel-$version/zel-VERSION/" | sort | diff "tests/packages/contents/$2" -; }

linux_wheel=$(printf '%s\n' "$folder/zel-$version"-py3-none-manylinux_2_*_x86_64.whl)
windows_wheel=$folder/zel-$version-py3-none-win_amd64.whl
nupkg=$folder/Zel.$version.nupkg
expect "the Linux wheel holds what it should" holds "$linux_wheel" wheel-linux
expect "the Windows wheel holds what it should" holds "$windows_wheel" wheel-windows
expect "the NuGet package holds what it should" holds "$nupkg" nupkg

says_platform() { unzip -p "$1" "zel-$version.dist-info/WHEEL" | grep -v '^Wheel-Version\|^Generator' | diff <(printf '%s\n' "Root-Is-Purelib: false" "Tag: $2" "") -; }
expect "the Linux wheel is for one platform" says_platform "$linux_wheel" "$(basename "$linux_wheel" .whl | sed "s/zel-$version-//")"
expect "the Windows wheel is for one platform" says_platform "$windows_wheel" py3-none-win_amd64
needs_no_newer_glibc() {
    local tag needed
    tag=$(basename "$linux_wheel" | sed -E 's/.*manylinux_([0-9]+)_([0-9]+)_.*/\1.\2/')
    unzip -q -o "$linux_wheel" zel/_lib/libzel.so -d "$scratch/library"
    needed=$(objdump -T "$scratch/library/zel/_lib/libzel.so" | sed -nE 's/.*GLIBC_([0-9.]+).*/\1/p' | sort -uV)
    [ -n "$needed" ] && [ "$(printf '%s\n' "$needed" "$tag" | sort -V | tail -n 1)" = "$tag" ]
}
expect "the Linux wheel's library needs no newer glibc than its name says" needs_no_newer_glibc
nuspec() { unzip -p "$nupkg" Zel.nuspec; }
expect "the NuGet package has the version" has "<version>${version/+/\\+}</version>" nuspec
expect "the NuGet package's nuspec file names no files of this machine" has_not '<file |\$' nuspec

"$pensim" --ready-file "$scratch/ready" </dev/null >"$scratch/pensim.log" 2>&1 & # in this shell, which ends it
service=$!
expect "pensim starts" ready "$scratch/ready" "$service" "$scratch/pensim.log"

# --- Python

python=$scratch/venv/bin/python
installed() { alone /usr/bin/python3 -m venv venv && alone "$python" -m pip -q install --no-index "$linux_wheel"; }
expect "Python: the wheel installs into a fresh environment, without a network" installed
expect "Python: it is the only package there" prints "zel $version" alone "$python" -c \
    'import importlib.metadata as m; print(*(f"{one.name} {one.version}" for one in m.distributions() if one.name not in ("pip", "setuptools")))'
expect "Python: the wheel's own library is loaded" prints "$scratch/venv/lib/$(basename "$(alone readlink -f /usr/bin/python3)")/site-packages/zel/_lib/libzel.so" \
    alone "$python" -c 'import zel._native; print(zel._native.loaded_library()._name)'
expect "Python: it lists pens" has "^$pen  1209:0001$" alone "$python" -m zel list
expect "Python: it fetches pages" prints "$eight" alone "$python" -m zel fetch "$scratch/pages.zel" --pen "$pen"
expect "Python: it shows them" has '^1\.2\.3\.4  200 bytes$' alone "$python" -m zel show "$scratch/pages.zel"

# --- .NET, on Mono

host=$scratch/host
beside_a_host() {
    mkdir "$host" && unzip -q "$nupkg" -d "$scratch/nupkg" &&
        cp "$scratch/nupkg/lib/netstandard2.0/Zel.dll" "$scratch/nupkg/runtimes/linux-x64/native/libzel.so" "$host" &&
        mcs -langversion:7.2 "-r:$host/Zel.dll" "-out:$host/FetchPages.exe" examples/FetchPages.cs
}
expect ".NET: a host compiles with the package's assembly" beside_a_host
expect ".NET: it fetches pages" has '^AKZ-AQ7-APS-AC: 8 pages saved$' alone mono "$host/FetchPages.exe" "$scratch/by_mono.zel"
expect ".NET: the pages are those that Python fetched" cmp "$scratch/by_mono.zel" "$scratch/pages.zel"
end_cases
