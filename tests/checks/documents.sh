#!/usr/bin/env bash
# What the documents show must be so. Run in the root of the tree.
source "$(dirname "$0")/cases.sh"

code_blocks() { awk -v fence="^\`\`\`$2\$" '$0 ~ fence { on = 1; next } /^```/ { on = 0 } on' "$1"; }

# The example is built and run from the installed package.
expect "the host program in the README is examples/list_pens.c" \
    diff <(code_blocks README.md c) examples/list_pens.c

# links FILE: the files that it links to, seen from its folder
links() { grep -oE '\]\([^)#:]+[)#]' "$1" | sed 's/^](//; s/[)#]$//'; }
links_exist() {
    local target missing=0
    for target in $(links "$1"); do
        [ -e "$(dirname "$1")/$target" ] || { printf 'missing: %s\n' "$target"; missing=1; }
    done
    return $missing
}
for document in $(git ls-files '*.md'); do
    expect "$document links to files that exist" links_exist "$document"
done

# listed DOCUMENT FORM NAME...: whether the document has each name, in a form where % stands for it
listed() {
    local document=$1 form=$2 name missing=0
    shift 2
    for name in "$@"; do
        grep -qF -- "${form//%/$name}" "$document" || { printf 'not in %s: %s\n' "$document" "$name"; missing=1; }
    done
    return $missing
}
folders_of() { git ls-files "$1" | cut -d/ -f2 -s | sort | uniq -c | awk '{ print $2 }' | grep -v '\.'; }
mapfile -t documents < <(cd docs && git ls-files '*.md' | grep -vE '^README|/')
expect "docs/README.md lists every document" listed docs/README.md '](%)' "${documents[@]}"
mapfile -t folders < <(folders_of tests)
# shellcheck disable=SC2016 # the quotes are Markdown's
expect "docs/testing.md lists every folder of tests" listed docs/testing.md '`tests/%`' "${folders[@]}"
mapfile -t presets < <(sed -n 's/.*"configurePreset": "\([^"]*\)".*/\1/p' CMakePresets.json | sort -u)
# shellcheck disable=SC2016
expect "docs/building.md lists every preset" listed docs/building.md '| `%` |' "${presets[@]}"
expect "there were documents, folders and presets to look for" \
    [ $((${#documents[@]} > 5 && ${#folders[@]} > 10 && ${#presets[@]} > 5)) = 1 ]

# The doctor's lines that the documents show are those that it prints: each stands in a case of the command line.
doctor_lines_are_tested() {
    local line pattern found missing=0
    while IFS= read -r line; do
        found=
        while IFS= read -r pattern; do
            # shellcheck disable=SC2053 # a pattern
            [[ $line == $pattern ]] && found=1 && break
        done < <(sed -nE 's/^\|( ?[0-9]+ [a-z]+ +(WRONG|note).*| +-> .*)/\1/p' tests/cli/cases/doctor_*.case | sed 's/[][?\\]/\\&/g')
        [ -n "$found" ] || { printf 'in no case: %s\n' "$line"; missing=1; }
    done
    return $missing
}
doctor_lines() { grep -hE '^ *([0-9]+ [a-z]+ +(WRONG|note) |-> )' docs/troubleshooting.md | sed 's/^  11/11/'; }
expect "the doctor's lines in docs/troubleshooting.md are those of its tests" \
    doctor_lines_are_tested < <(doctor_lines | grep -v '\.\.\.$')
expect "there were lines of the doctor to look for" [ "$(doctor_lines | wc -l)" -gt 20 ]

end_cases
