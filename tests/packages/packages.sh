#!/usr/bin/env bash
# Makes the packages, and tries each as somebody who has nothing else.
#
#   tests/packages/packages.sh [RUNNER...]
#
# Run in the root of the tree. RUNNER starts Windows programs (Wine).
source tests/checks/cases.sh

wine=("$@")
root=$PWD
scratch=$(mktemp -d)
packages=$root/build/packages
linux=$scratch/linux/moved
windows="$scratch/Zwei Stifte für Jürg/zel" # a blank and an umlaut
debian=$scratch/debian
pen=AKZ-AQ7-APS-AC # of the built-in scenario
pensim=
end_pensim() {
    [ -z "$pensim" ] || { kill "$pensim" && wait "$pensim"; } 2>/dev/null
    pensim=
    rm -f "$scratch/ready"
}
trap 'end_pensim; rm -rf "$scratch"' EXIT
export LC_ALL=C.UTF-8
export ZEL_PACKAGE_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-} # what the other builds compile alike is there
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-1} # other tests run beside this one

# alone COMMAND...: with nothing in the environment that could help.
clean=(env -i PATH=/usr/bin:/bin "HOME=$scratch" LC_ALL=C.UTF-8)
alone() { "${clean[@]}" "$@"; }

# --- made

# A product's, with values of its own, into a folder on a file system that is full by the time they are there: one line, and
# the folder as it was. What was made until then is in build/package/results.
digits=00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff
into_filling_folder() {
    mkdir "$scratch/small" "$scratch/product" && echo '0x4242 0x1717' >"$scratch/table" && rm -rf build/package/results || return
    unshare --mount --map-root-user sh -c 'mount -t tmpfs -o size=64m zel "$1/small" && echo kept >"$1/small/kept" || exit
        { until ls build/package/results/*.deb >"$1/debs" 2>&1; do sleep 0.1; done; head -c 64M /dev/zero >"$1/small/kept2" 2>&1; } &
        ! script/package --dirty --output "$1/small" --usb-table "$1/table" --chaining-value "$2" >"$1/said" 2>&1
        status=$?; kill $! 2>/dev/null
        [ $status = 0 ] && [ "$(ls -A "$1/small" | tr "\n" " ")" = "kept kept2 " ]
    ' sh "$scratch" "$digits" && grep 'no space left' "$scratch/said" && [ "$(wc -l <"$scratch/said")" = 1 ] &&
        cp build/package/results/* "$scratch/product" || { cat "$scratch/said"; false; }
}
made() { script/package --dirty && cp -r "$packages" "$scratch/first"; }
# Where the bytes differ, the files that do so are shown.
made_again() {
    local archive
    script/package --dirty && diff "$scratch/first/SHA256SUMS" "$packages/SHA256SUMS" && return
    for archive in "$packages"/*.tar.gz; do
        rm -rf "$scratch/compared" && mkdir -p "$scratch/compared/"{first,second} &&
            tar -xf "$scratch/first/${archive##*/}" -C "$scratch/compared/first" &&
            tar -xf "$archive" -C "$scratch/compared/second" && diff -r "$scratch/compared/"{first,second} | head -40
    done
    return 1
}
sums() { (cd "$packages" && sha256sum --check --strict SHA256SUMS); }
expect "script/package makes the packages" made
[ "$bad_cases" = 0 ] || exit 1
expect "SHA256SUMS is right" sums
expect "a folder that fills up keeps what it held" into_filling_folder
expect "the same tree gives the same bytes" made_again

version=$(sed -n 's/^project(zel VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ -z "$(git status --porcelain)" ] || version+=+dirty
win64=$packages/zel-$version-win64
linux_x64=$packages/zel-$version-linux-x64

# --- what is in them; a list of the documents is no use, so they count as one

in_zip() { unzip -Z1 "$1"; }
in_tar() { tar -tf "$1" | grep -v '/$'; }
in_deb() { dpkg-deb --fsys-tarfile "$1" | tar -t | grep -v '/$'; }
# holds PACKAGE LIST: whether its files are those of tests/packages/contents/LIST.
holds() {
    local reader=in_$1 package=$2 list=$3
    diff <("$reader" "$package" | sed -E "s|^\./||; s|^zel-${version/+/\\+}/||; s|^zel-${version/+/\\+}-[a-z0-9-]*/||; s|(doc(/libzel-dev)?/html)/.*|\1|; s|^doc/licences/|LICENCES/|; s|^doc/.*|doc|; s|^LICENCES/|doc/licences/|; s|(\.so\.)$version_numbers|\1VERSION|; s|\.build-id/.*|.build-id|" | sort -u) \
        "tests/packages/contents/$list"
}
version_numbers=${version%+dirty}

expect "the Windows archive holds what it should" holds zip "$win64.zip" win64
expect "the Windows debug archive holds what it should" holds zip "$win64-debug.zip" win64-debug
expect "the Linux archive holds what it should" holds tar "$linux_x64.tar.gz" linux-x64
expect "the Linux debug archive holds what it should" holds tar "$linux_x64-debug.tar.gz" linux-x64-debug
for deb in libzel1 libzel-dev zel-tools; do
    expect "$deb holds what it should" holds deb "$packages/${deb}_$version-1_amd64.deb" "$deb"
done
owned_by_root() { ! tar --numeric-owner -tvf "$1" | grep -v ' 0/0 '; }
expect "the Linux archive names nobody of this machine" owned_by_root "$linux_x64.tar.gz"

# --- Linux: unpacked anywhere

unpack_linux() { mkdir -p "$linux" && tar -xf "$linux_x64.tar.gz" -C "$linux" --strip-components=1; }

# expect_pensim WHAT COMMAND...: in this shell, which then can end it.
expect_pensim() {
    local what=$1
    shift
    "$@" --ready-file "$scratch/ready" </dev/null >"$scratch/pensim.log" 2>&1 &
    pensim=$!
    expect "$what" ready "$scratch/ready" "$pensim" "$scratch/pensim.log"
}
c_host() {
    # shellcheck disable=SC2046 # words
    alone gcc -std=c99 -pedantic -Wall -Wextra -Werror -o "$scratch/c_host" tests/install/host.c \
        $(alone PKG_CONFIG_LIBDIR="$linux/lib/pkgconfig" pkg-config --cflags --libs zel) \
        "-Wl,-rpath,$(alone PKG_CONFIG_LIBDIR="$linux/lib/pkgconfig" pkg-config --variable=libdir zel)" &&
        alone "$scratch/c_host"
}
by_readme() { alone sh -c "cd '$linux' && cc '$root/tests/install/host.c' -Iinclude -Llib -Wl,-rpath,\"\$PWD/lib\" -lzel -o '$scratch/readme_host'" && alone "$scratch/readme_host"; }
cmake_host() {
    local folder=$1
    shift
    alone cmake -S tests/install -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" && alone cmake --build "$folder"
}
small() { [ "$(stat -c %s "$(realpath "$1")")" -lt "$2" ] || { ls -l "$(realpath "$1")"; false; }; }
lines_known() {
    mkdir -p "$scratch/debug" && tar -xf "$linux_x64-debug.tar.gz" -C "$scratch/debug" --strip-components=1 &&
        cp -r "$scratch/debug/lib/.debug" "$linux/lib/" &&
        has 'is at .*src/api/.*\.cpp|Line [0-9]+ of .*src/api/' gdb --batch -ex 'info line zelGetApiVersion' "$linux/lib/libzel.so"
}
fetched() { (cd "$scratch" && "$@" fetch "$pen" -o pages.zel && "$@" show pages.zel && rm pages.zel); }
expect "Linux: the archive unpacks" unpack_linux
expect "Linux: the library is stripped" small "$linux/lib/libzel.so" 600000
expect "Linux: a C99 host by pkg-config and GCC" c_host
expect "Linux: a C host by the link line of the archive's README" by_readme
expect "Linux: C++ hosts by find_package" cmake_host "$scratch/hosts" "-DCMAKE_PREFIX_PATH=$linux"
for host in c_host cpp_host cpp17_host; do
    expect "Linux: $host runs" alone "$scratch/hosts/$host"
done
expect_pensim "Linux: pensim starts" "${clean[@]}" "$linux/bin/pensim"
expect "Linux: penctl lists pens" has '[A-Z0-9]{3}-[A-Z0-9]{3}-' alone "$linux/bin/penctl" list
expect "Linux: penctl fetches pages" fetched alone "$linux/bin/penctl"
end_pensim
expect "Linux: penctl says that it has stand-ins" has 'stand-in for the chaining value and USB table' alone "$linux/bin/penctl" --version
expect "Linux: the README says it too" has 'stand-in for the chaining value and USB table' cat "$linux/README.txt"
expect "Linux: the debug archive gives GDB the lines" lines_known

# By script/test, in other folders. Its code: the rest knows where it was built, through a compiler cache.
code_of() { objcopy -O binary -j .text "$1" "$2"; }
holds_tested_code() {
    local preset=$1 unpacked=$2 file
    grep -q '^ZEL_UNITY:BOOL=ON$' "build/$preset/CMakeCache.txt" || { echo "build/$preset was not configured as script/test does"; return 1; }
    shift 2
    for file in "$@"; do
        code_of "build/$preset/${file#lib/}" "$scratch/built" && code_of "$unpacked/$file" "$scratch/packed" &&
            [ -s "$scratch/packed" ] && cmp "$scratch/built" "$scratch/packed" || return
    done
}
expect "Linux: it is the code that was tested" holds_tested_code native "$linux" "lib/libzel.so.$version_numbers" bin/penctl bin/pensim

# The version stands in all of it.
expect "Linux: pkg-config tells the version" same "$(PKG_CONFIG_LIBDIR=$linux/lib/pkgconfig pkg-config --modversion zel)" "$version_numbers"
bill_version() { python3 -c 'import json, sys; print(json.load(sys.stdin)["metadata"]["component"]["version"])' <"$1"; }
expect "Linux: the bill of materials tells the version" same "$(bill_version "$linux/sbom.cdx.json")" "$version"
expect "Linux: the README tells the version and the commit" has "zel $version for Linux" cat "$linux/README.txt"
expect "Linux: the README tells the commit" has "Made from commit $(git rev-parse HEAD)\\." cat "$linux/README.txt"
expect "Linux: the start page says that there are stand-ins" has 'stand-ins' cat "$linux/doc/index.html"
for deb in libzel1 libzel-dev zel-tools; do
    expect "$deb tells the version" same "$(dpkg-deb -f "$packages/${deb}_$version-1_amd64.deb" Version)" "$version-1"
done

# --- a product's: what was configured is built in, seen from outside

# Its pen announces the ids of the table, and starts its password's digest from the value.
cat >"$scratch/product.json" <<END
{ "pens": [ { "id": "0x22", "software_version": "0x0601", "vendor_id": "0x4242", "product_id": "0x1717",
    "password": "geheim", "chaining_value": "$digits" } ] }
END
unlocks() { echo geheim | "$@" unlock --password-file -; }
ends_with() {
    local code=$1
    shift
    "$@"
    [ $? = "$code" ]
}
unpack_product() {
    mkdir -p "$scratch/product/linux" "$scratch/product/windows" &&
        tar -xf "$scratch/product/zel-$version-linux-x64.tar.gz" -C "$scratch/product/linux" --strip-components=1 &&
        unzip -q "$scratch/product/zel-$version-win64.zip" -d "$scratch/product/zip" && mv "$scratch/product/zip"/*/* "$scratch/product/windows"
}
product_text="Built with a product's chaining value and USB table."
product_penctl=$scratch/product/linux/bin/penctl
expect "product: its archives unpack" unpack_product
expect "product: penctl tells it" has "^$product_text" alone "$product_penctl" --version
expect "product: so do the READMEs" has "^$product_text" cat "$scratch/product/linux/README.txt"
expect "product: nothing in the READMEs speaks of stand-ins" has_not 'stand-in' cat "$scratch/product"/{linux,windows}/README.txt
expect_pensim "product: its pen is there" "${clean[@]}" "$linux/bin/pensim" --scenario "$scratch/product.json"
expect "product: its pen connects, and unlocks by the password" unlocks alone "$product_penctl"
expect "without its values the pen is unknown" ends_with 10 unlocks alone "$linux/bin/penctl"
end_pensim
sed -i 's/"0x4242"/0/; s/"0x1717"/0/' "$scratch/product.json"
expect_pensim "product: its pen announces no ids" "${clean[@]}" "$linux/bin/pensim" --scenario "$scratch/product.json"
expect "without its value the password is wrong" ends_with 1 unlocks alone "$linux/bin/penctl"
expect "product: it unlocks by the password" unlocks alone "$product_penctl"
end_pensim

# --- the bill of materials: typed from what the sources include and the toolchain links statically

components() { python3 -c 'import json, sys; print(*(one["name"] for one in json.load(sys.stdin)["components"]), sep="\n")' <"$1"; }
versions_right() {
    python3 -c 'import json, sys
for one in json.load(sys.stdin)["components"]: print(one["name"], one["version"])' <"$1" | diff - <(components "$1" | xargs dpkg-query -W -f='${Package} ${Version}\n')
}
header_only=$'libasio-dev\nlibboost1.74-dev\nlibcli11-dev\nlibfmt-dev\nnlohmann-json3-dev'
expect "Linux: the bill of materials" same "$(components "$linux/sbom.cdx.json")" "$header_only"
expect "Linux: its versions" versions_right "$linux/sbom.cdx.json"

# --- Windows: unpacked into a folder with a blank and an umlaut in its name

unpack_windows() { mkdir -p "$windows" && unzip -q "$win64.zip" -d "$scratch/zip" && mv "$scratch/zip"/*/* "$windows"; }
compiled_for_microsoft() {
    clang --target=x86_64-pc-windows-msvc -std=c99 -ffreestanding -Wall -Wextra -Werror -I"$windows/include" \
        -c tests/install/bare_host.c -o "$scratch/bare.obj" &&
        lld-link /nodefaultlib /entry:mainCRTStartup /subsystem:console "/out:$windows/bin/bare.exe" \
            "$scratch/bare.obj" "$windows/lib/zel.lib"
}
by_mingw() { x86_64-w64-mingw32-gcc -o "$windows/bin/mingw.exe" tests/install/host.c -I"$windows/include" "$windows/lib/libzel.dll.a"; }
# By a file: pensim, which runs on, would keep a pipe open.
tried() { (cd "$windows" && timeout 120 "${wine[@]}" cmd /c try.cmd </dev/null >"$scratch/tried" 2>&1); cat "$scratch/tried"; }
expect "Windows: the archive unpacks" unpack_windows
expect "Windows: the DLL is stripped" small "$windows/bin/zel.dll" 1500000
expect "Windows: the bill of materials" same "$(components "$windows/sbom.cdx.json")" \
    "$header_only"$'\ng++-mingw-w64-x86-64-posix\nmingw-w64-x86-64-dev'
expect "Windows: its versions" versions_right "$windows/sbom.cdx.json"
expect "Windows: a host links zel.lib by lld-link" compiled_for_microsoft
expect "Windows: a host links libzel.dll.a by MinGW" by_mingw
expect "Windows: it is the code that was tested" holds_tested_code windows "$windows" bin/zel.dll bin/penctl.exe bin/pensim.exe
expect "Windows: the README tells the version" has "zel $version for Windows" cat "$windows/README.txt"
expect "Windows: the README says that there are stand-ins" has 'stand-in for the chaining value and USB table' cat "$windows/README.txt"
expect "Windows: lines of what is opened there end as there" same "$(grep -L $'\r$' "$windows"/{README.txt,try.cmd})" ''
expect "Windows: hosts by find_package" cmake_host "$scratch/mingw-hosts" "-Dzel_DIR=$windows/lib/cmake/zel" \
    --toolchain "$root/cmake/toolchain-mingw64.cmake"
if [ ${#wine[@]} != 0 ]; then
    unset WINEPATH # no other zel.dll
    for host in bare mingw; do
        expect "Windows: $host.exe runs" timeout 60 "${wine[@]}" "$windows/bin/$host.exe"
    done
    expect "Windows: penctl.exe says that it has stand-ins" has 'stand-in for' "${wine[@]}" "$windows/bin/penctl.exe" --version
    cp "$scratch/mingw-hosts/cpp17_host.exe" "$windows/bin"
    expect "Windows: a C++ host runs" timeout 60 "${wine[@]}" "$windows/bin/cpp17_host.exe"
    expect_pensim "Windows: pensim.exe starts" "${wine[@]}" "$windows/bin/pensim.exe"
    expect "Windows: penctl.exe lists pens" has '[A-Z0-9]{3}-[A-Z0-9]{3}-' "${wine[@]}" "$windows/bin/penctl.exe" list
    expect "Windows: penctl.exe fetches pages" fetched timeout 60 "${wine[@]}" "$windows/bin/penctl.exe"
    end_pensim
    expect "Windows: try.cmd starts pensim and lists its pens" has '[A-Z0-9]{3}-[A-Z0-9]{3}-' tried
    timeout 60 "${wine[@]}" taskkill /f /im pensim.exe >"$scratch/taskkill.log" 2>&1
    expect "product, Windows: penctl.exe tells it" has "^$product_text" "${wine[@]}" "$scratch/product/windows/bin/penctl.exe" --version
    expect_pensim "product, Windows: its pen is there" "${clean[@]}" "$linux/bin/pensim" --scenario "$scratch/product.json"
    expect "product, Windows: it unlocks by the password" unlocks timeout 60 "${wine[@]}" "$scratch/product/windows/bin/penctl.exe"
    end_pensim
fi

# --- Python and .NET

tests/packages/bindings.sh "$packages" "$linux/bin/pensim" "${version#"$version_numbers"}" || bad_cases=$((bad_cases + 1))

# --- Debian: into a fresh system, used, and away without a trace

packages_of() { for one in "$@"; do printf '%s\n' "$packages/${one}_$version-1_amd64.deb"; done; }
in_root() { chroot "$debian" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
# What dpkg and ldconfig write for themselves at any installation is no trace of ours.
files_of_root() { (cd "$debian" && find . -xdev ! -path './var/lib/dpkg/*-old' ! -path './var/log/dpkg.log' ! -path './var/cache/ldconfig/*' | sort); }
fresh_root() { mkdir "$debian" && tar -xf build/base-root.tar -C "$debian" && mkdir "$debian/debs" && files_of_root >"$scratch/before"; }
installed() {
    mapfile -t debs < <(packages_of libzel1 libzel-dev zel-tools)
    cp "${debs[@]}" "$debian/debs" && in_root sh -c 'dpkg -i /debs/*.deb' && rm "$debian"/debs/*
}
host_in_root() {
    local pc=$debian/usr/lib/x86_64-linux-gnu/pkgconfig
    # shellcheck disable=SC2046 # words
    gcc -std=c99 -o "$debian/debs/host" tests/install/host.c $(PKG_CONFIG_LIBDIR=$pc pkg-config --cflags --libs zel) &&
        in_root /debs/host && rm "$debian/debs/host"
}
used() {
    in_root sh -c 'mkdir /debs/t && cd /debs/t
        pensim --ready-file ready >log 2>&1 </dev/null & pid=$!
        n=0; until [ -e ready ] || [ $n = 100 ]; do sleep 0.1; n=$((n + 1)); done
        penctl list && penctl fetch '"$pen"' -o pages.zel && penctl show pages.zel; code=$?
        kill $pid; wait $pid; rm -r /debs/t; exit $code'
}
without_trace() { in_root dpkg -P zel-tools libzel-dev libzel1 && files_of_root | diff "$scratch/before" -; }
if [ "$(id -u)" != 0 ] || ! [ -e build/base-root.tar ]; then
    echo "skipped: the Debian packages need root and build/base-root.tar (tests/packages/base_root.sh)"
else
    expect "Debian: a fresh system" fresh_root
    expect "Debian: the packages install" installed
    expect "Debian: a host builds with libzel-dev and runs" host_in_root
    expect "Debian: pensim and penctl are used" used
    expect "Debian: the packages go without a trace" without_trace
fi
end_cases
