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

end_cases
