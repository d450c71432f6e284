#!/usr/bin/env bash
# What the built libraries show to the world: exported names, imported libraries, hardening.
# Run in the root of the tree, after both platforms were built.
source "$(dirname "$0")/cases.sh"

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

# --- version resource

expect "zel.dll tells its name and version to Windows" has '^OriginalFilename$' strings -el "$dll"

end_cases
