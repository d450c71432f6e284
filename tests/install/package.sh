#!/usr/bin/env bash
# Installs a build and makes customers' programs from nothing but the installed package.
#
#   tests/install/package.sh native|windows [RUNNER...]
#
# Run in the root of the tree, after that build. RUNNER starts the programs (Wine).
source tests/checks/cases.sh

preset=$1
shift
prefix=$PWD/build/install/$preset

# consumer NAME [OPTION...]: builds the customers' project in a folder of its own.
consumer() {
    local folder=build/install/$1-consumer
    shift
    cmake -S tests/install -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release -Dzel_DIR="$prefix/lib/cmake/zel" "$@" &&
        cmake --build "$folder"
}

# started COMMAND...: with the installed DLL in reach and nothing to read.
windows_bin=Z:${prefix//\//\\}\\bin
started() { WINEPATH=$windows_bin "$@" </dev/null; }

rm -rf build/install/"$preset"*
expect "$preset: the package installs" cmake --install "build/$preset" --prefix "$prefix"
expect "$preset: the package holds the licence" cmp LICENSE "$prefix/share/doc/zel/LICENSE"
case $preset in
    native)
        expect "native: hosts build from the package" consumer native
        for host in c_host cpp_host cpp17_host list_pens; do
            expect "native: $host runs" started "build/install/native-consumer/$host"
        done
        ;;
    windows)
        expect "windows: the installed DLL does not tell the time" has '^Time/Date.*Thu Jan +1 00:00:00 1970' \
            env TZ=UTC x86_64-w64-mingw32-objdump -p "$prefix/bin/zel.dll"
        expect "windows: hosts build from the package with MinGW" \
            consumer windows --toolchain "$PWD/cmake/toolchain-mingw64.cmake"
        for host in c_host cpp_host cpp17_host list_pens; do
            expect "windows: $host runs" started "$@" "build/install/windows-consumer/$host.exe"
        done
        expect "windows: a host builds from the package for Microsoft's linker" \
            consumer windows-msvc --toolchain "$PWD/tests/install/toolchain-msvc.cmake" -DHOST_WITHOUT_RUNTIME=ON
        expect "windows: that host runs" started "$@" build/install/windows-msvc-consumer/bare_host.exe
        ;;
esac
end_cases
