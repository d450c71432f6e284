#!/usr/bin/env bash
# The public headers as hosts with other compilers and other settings see them. Needs no build; run in the
# root of the tree.
source "$(dirname "$0")/cases.sh"

host=tests/checks/header_settings.c
objects=build/header
mkdir -p "$objects"
warnings=(-Wall -Wextra -Wpedantic -Werror -Iinclude)
pe=x86_64-pc-windows-msvc

# msvc LANGUAGE OPTION...: Clang as Microsoft's compiler, with options in its spelling. None of its headers
# are at hand; <stdint.h> and <stddef.h> are Clang's own.
msvc() {
    local language=$1
    shift
    clang --driver-mode=cl --target=$pe "/T$language" "$host" /W4 /WX /Iinclude -Wno-unused-command-line-argument "$@"
}

# --- packing and the default calling convention

for packing in 1 2 4 8 16; do
    packed=-DHOST_PACKING=$packing
    for language in c p; do
        name=$([ $language = c ] && echo C || echo C++)
        for convention in Gd Gr Gv Gz; do
            expect "Microsoft's $name, /$convention, packing by $packing" msvc $language /$convention /Zs $packed
        done
        expect "Microsoft's $name, packing by /Zp$packing" \
            msvc $language /Zp$packing /Zs $packed -DHOST_PACKS_BY_COMMAND_LINE
    done
    for compiler in "gcc -std=c99" "clang -std=c99" "g++ -x c++" "clang++ -x c++" \
        "x86_64-w64-mingw32-gcc-posix -std=c99" "x86_64-w64-mingw32-g++-posix -x c++"; do
        expect "$compiler, packing by $packing" $compiler "${warnings[@]}" $packed -fsyntax-only "$host"
    done
done

# --- every function by its plain name, whatever the default convention

exports() { sed -n 's/^ *\(zel[A-Za-z]*\)$/\1/p' src/exports.def; }
every_function() { exports | sed 's/.*/X(&)/' | tr '\n' ' '; }
wanted_by() { llvm-nm --undefined-only "$1" | awk '{ print $NF }' | grep zel; }

for convention in Gd Gr Gv Gz; do
    object=$objects/$convention.obj
    expect "Microsoft's C, /$convention, every function" \
        msvc c /$convention /c "/Fo$object" -DHOST_PACKING=8 "-DEVERY_FUNCTION(X)=$(every_function)"
    expect "Microsoft's C, /$convention, asks for the exported names" same "$(wanted_by "$object")" "$(exports)"
done

# --- where the library does not exist

refused() { has 'error: "zel.dll exists for 64-bit Windows only"' \
    clang --target="$1" -fsyntax-only -Iinclude include/zel/zel.h; }
expect "32-bit Windows is refused, as Microsoft's target" refused i686-pc-windows-msvc
expect "32-bit Windows is refused, as MinGW's target" refused i686-w64-windows-gnu

# --- the result codes in words

constants() { sed -nE 's/^#define (ZEL_(OK|ERR_[A-Z_]+)) .*/\1/p' include/zel/zel.h; }
in_words() { sed -nE 's/^ *X\((ZEL_[A-Z_]+), ".*/\1/p' include/zel/zel_result.h; }
expect "zel_result.h has every result code of zel.h" same "$(in_words)" "$(constants)"

end_cases
