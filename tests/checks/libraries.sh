#!/usr/bin/env bash
# What the built libraries and programs show to the world: exported names, imported libraries, hardening,
# resources, and nothing of the machine that built them.
# Run in the root of the tree, after both platforms were built.
source "$(dirname "$0")/cases.sh"
shopt -s nullglob # only "script/test all" builds the programs for Windows

so=build/native/libzel.so
dll=build/windows/zel.dll
mingw=x86_64-w64-mingw32

# --- exported names

declared() { sed -n 's/^ZEL_API uint32_t ZEL_CALL \(zel[A-Za-z]*\)(.*/\1/p' include/zel/zel.h; }
listed() { sed -n 's/^ *\(zel[A-Za-z]*\)$/\1/p' src/exports.def; }
# The version node itself stands among the symbols as an absolute one.
exported_by_so() { nm --dynamic --defined-only "$so" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }'; }
exported_by_dll() { $mingw-objdump -p "$dll" | awk '/^\[Ordinal\/Name Pointer\]/ { on = 1; next } on && NF == 0 { exit } on { print $NF }'; }
offered_by() { nm "$1" 2>/dev/null | awk '$2 == "T" && $3 !~ /^\./ { print $3 }'; }

expect "the functions that the header declares are those listed for export" same "$(declared)" "$(listed)"
expect "libzel.so exports the listed functions and nothing else" same "$(exported_by_so)" "$(listed)"
expect "zel.dll exports the listed functions and nothing else" same "$(exported_by_dll)" "$(listed)"
expect "zel.lib offers the listed functions to Microsoft's linker" \
    same "$(offered_by build/windows/zel.lib)" "$(listed)"
expect "libzel.dll.a offers the listed functions to MinGW's linker" \
    same "$(offered_by build/windows/libzel.dll.a)" "$(listed)"

# --- needed libraries

needed_by_so() { readelf -d "$so" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'; }
needed_by_dll() { $mingw-objdump -p "$dll" | sed -n 's/.*DLL Name: //p' | tr '[:lower:]' '[:upper:]'; }

expect "libzel.so needs the C and C++ libraries only" \
    within "$(needed_by_so)" $'libc.so.6\nlibm.so.6\nlibgcc_s.so.1\nlibstdc++.so.6\nld-linux-x86-64.so.2'
expect "zel.dll needs the system's libraries only" \
    within "$(needed_by_dll)" $'KERNEL32.DLL\nMSVCRT.DLL\nUCRTBASE.DLL\nWS2_32.DLL'

# --- nothing is destroyed while the process ends: threads may still be inside the library then

at_exit=' U (__cxa_(thread_)?)?atexit'
expect "libzel.so: no object is destroyed at exit" has_not "$at_exit" nm --dynamic "$so"
objects=$(find build/windows/src -name '*.obj')
expect "zel.dll: its objects are found" has 'zel_socketless' echo "$objects"
# shellcheck disable=SC2086 # a path on each line
expect "zel.dll: no object is destroyed at exit" has_not "$at_exit" $mingw-nm $objects

# --- hardening

for elf in "$so" build/native/bin/*; do
    [ -f "$elf" ] || continue
    name=${elf##*/}
    expect "$name: relocations are read-only once loaded" has 'GNU_RELRO' readelf -lW "$elf"
    expect "$name: every symbol is bound at load" has 'BIND_NOW|FLAGS_1.*NOW' readelf -dW "$elf"
    expect "$name: its stack is not executable" has 'GNU_STACK.* RW ' readelf -lW "$elf"
    expect "$name: no relocation in its code" has_not 'TEXTREL' readelf -dW "$elf"
    expect "$name: frames are guarded" has ' __stack_chk_fail' nm --dynamic "$elf"
    expect "$name: its load address is random" has 'Type: +DYN' readelf -hW "$elf"
done
expect "libzel.so: calls of the C library are fortified" has ' __[a-z]+_chk@' nm --dynamic "$so"

for pe in "$dll" build/windows/bin/*.exe; do
    [ -f "$pe" ] || continue
    name=${pe##*/}
    for flag in DYNAMIC_BASE NX_COMPAT HIGH_ENTROPY_VA; do
        expect "$name: $flag" has "$flag" $mingw-objdump -p "$pe"
    done
    expect "$name: can be moved" has ' \.reloc ' $mingw-objdump -h "$pe"
    expect "$name: frames are guarded" has ' __stack_chk_fail' $mingw-nm "$pe"
done

# --- resources

version=$(sed -n 's/^project(zel VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)

# version_text FILE NAME: a text of the version resource.
version_text() { strings -el "$1" | sed -n "/^$2\$/{n;p;}"; }
tells() {
    local told
    told=$(version_text "$1" "$2")
    [ "$told" = "$3" ] || { printf '%s: "%s", not "%s"\n' "$2" "$told" "$3"; false; }
}
# fixed_version FILE: the four numbers of the file's and of the product's version, behind their signature.
fixed_version() {
    LC_ALL=C grep -obaP '\xBD\x04\xEF\xFE' "$1" | head -n 1 | cut -d: -f1 |
        { read -r at && od -An -j $((at + 8)) -N 16 -t u2 --endian=little "$1" | awk '{ printf "%s.%s.%s.%s %s.%s.%s.%s", $2, $1, $4, $3, $6, $5, $8, $7 }'; }
}
numbers_are() { [ "$(fixed_version "$1")" = "$2 $2" ] || { fixed_version "$1"; false; }; }

for pe in "$dll" build/windows/bin/*.exe; do
    name=${pe##*/}
    expect "$name: whose it is" tells "$pe" CompanyName "the zel authors"
    expect "$name: its copyright" tells "$pe" LegalCopyright "Copyright (c) 2026 the zel authors"
    expect "$name: its own name" tells "$pe" OriginalFilename "$name"
    expect "$name: its version as text" tells "$pe" FileVersion "$version.0"
    expect "$name: its product's version as text" tells "$pe" ProductVersion "$version.0"
    expect "$name: both versions as numbers" numbers_are "$pe" "$version.0"
done
for pe in build/windows/bin/*.exe; do
    name=${pe##*/}
    expect "$name: takes long paths" has '<longPathAware .*>true<' strings "$pe"
    expect "$name: its code page is UTF-8" has '<activeCodePage .*>UTF-8<' strings "$pe"
    expect "$name: has one manifest" [ "$(strings "$pe" | grep -c '<assembly ')" = 1 ]
done
header_version() { sed -n 's/^#define ZEL_VERSION_[MP][A-Z]* \([0-9]*\)$/\1/p' include/zel/zel.h | paste -sd .; }
expect "the header's version is the project's" [ "$(header_version)" = "$version" ]

# --- neither where nor when it was built

silent_about() { [ -s "$1" ] && ! LC_ALL=C grep -a -m 5 -o -F -e "$2" "$1"; }
undated() {
    local dated
    dated=$(TZ=UTC ar tv "$1" | grep -v ' Jan  1 00:00 1970 ')
    [ -z "$dated" ] || { printf '%s\n' "$dated" | head; false; }
}

for file in "$so" build/native/bin/{penctl,pensim} "$dll" build/windows/bin/*.exe \
    build/windows/{zel.lib,libzel.dll.a}; do
    expect "${file##*/}: does not tell where it was built" silent_about "$file" "$PWD"
done
for pe in "$dll" build/windows/bin/*.exe; do
    expect "${pe##*/}: does not tell when it was built" has '^Time/Date.*Thu Jan +1 00:00:00 1970' \
        env TZ=UTC $mingw-objdump -p "$pe"
done
expect "zel.dll: its table of exports does not tell it either" has '^Time/Date stamp[[:space:]]+0+$' $mingw-objdump -p "$dll"
for library in build/windows/zel.lib build/windows/libzel.dll.a; do
    expect "${library##*/}: its members do not tell when they were made" undated "$library"
done

end_cases
