#!/usr/bin/env bash
# What script/package refuses, in one line and before it makes anything.
# Run in the root of the tree.
source tests/checks/cases.sh

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
digits=00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff

# refused TEXT COMMAND...: it fails, says one line that holds the text, and leaves nothing in $scratch/out.
refused() {
    local text=$1 said
    shift
    if said=$("$@" 2>&1 </dev/null); then
        printf 'accepted: %s\n' "$said"
        return 1
    fi
    [ "$(wc -l <<<"$said")" = 1 ] && [[ $said == *"$text"* ]] || { printf 'said: %s\n' "$said"; return 1; }
    [ -z "$(find "$scratch/out" -type f 2>/dev/null)" ] || { find "$scratch/out"; return 1; }
}
package() { script/package --dirty --output "$scratch/out" "$@"; }

# A copy of the tree, committed, where a change can be left and nothing of ours suffers.
copy=$scratch/copy
copied() {
    git clone -q --no-hardlinks . "$copy" && git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$copy" &&
        git -C "$copy" add -A && git -C "$copy" -c user.name=test -c user.email=test@localhost commit -q --allow-empty -m copy
}
in_copy() { (cd "$copy" && script/package --output "$scratch/out" "$@"); }
with_change() { : >"$copy/left" && in_copy "$@"; }

# without TOOL COMMAND...: a path that lacks it.
without() {
    local tool=$1
    shift
    mkdir -p "$scratch/path"
    ln -sf /usr/bin/* /usr/sbin/* "$scratch/path" && rm -f "$scratch/path/$tool"
    PATH=$scratch/path "$@"
}

# on_full FOLDER SIZE COMMAND...: with a file system of that size there. Needs unshare, as tests/run does.
on_full() {
    unshare --mount --map-root-user sh -c 'folder=$1 size=$2 && shift 2 && mount -t tmpfs -o "size=$size" zel "$folder" && "$@"' sh "$@"
}

expect "an option that is none" refused "does not know --fast" package --fast
expect "an option without its value" refused "--usb-table needs a value" package --usb-table
expect "a USB table that is not there" refused "--usb-table names '$scratch/none', which is no file" package --usb-table "$scratch/none"
printf '0x1209 0x0001\n0x1209 one\n' >"$scratch/table"
expect "a USB table with a bad line" refused "line 2: '0x1209 one' is not a vendor id" package --usb-table "$scratch/table"
printf '' >"$scratch/empty"
expect "a chaining value that is too short" refused "--chaining-value must be 64 hexadecimal digits" package --chaining-value "${digits:1}"
expect "a chaining value that is no number" refused "--chaining-value must be 64 hexadecimal digits" package --chaining-value "${digits/0/g}"
expect "a chaining value that is empty" refused "--chaining-value must be 64 hexadecimal digits" package --chaining-value ''
expect "a tree is copied" copied
expect "a tree with a change" refused "changes that are not committed" with_change
: >"$scratch/file"
expect "an output folder that is a file" refused "cannot be written to" script/package --dirty --output "$scratch/file"
expect "an output folder that takes nothing" refused "cannot be written to" script/package --dirty --output /proc/packages
expect "a tree that is no repository" refused "is no git repository" env GIT_DIR=/nowhere script/package --output "$scratch/out"
expect "a tool that is missing" refused "needs lintian" without lintian package
expect "git is missing" refused "needs git" without git package
expect "a tool for a value is missing" refused "needs cmake" without cmake package --chaining-value "$digits"
printf '#!/bin/sh\nexec /usr/bin/python3 -S "$@"\n' >"$scratch/python" && chmod +x "$scratch/python"
expect "the generator of the documents is missing" refused "Sphinx or what it needs is missing" env PYTHON="$scratch/python" script/package --dirty --output "$scratch/out"
mkdir -p "$scratch/small" "$scratch/out" "$copy/build"
expect "an output folder that is full" refused "no space left in $scratch/small" on_full "$scratch/small" 1m script/package --dirty --output "$scratch/small"
clean_copy() { rm "$copy/left" && git -C "$copy" status --porcelain | diff /dev/null -; }
expect "the copy is clean again" clean_copy
expect "a build folder that is full" refused "no space left" on_full "$copy/build" 2m env -C "$copy" script/package --output "$scratch/out"
no_lock_taken() { exec {lock}>build/package/lock && flock -n "$lock" && package; }
mkdir -p build/package
expect "a second run at the same time" refused "Another script/package" no_lock_taken
mv "$copy" "$scratch/a copy" && copy="$scratch/a copy"
expect "a tree in a folder with a blank in its name" refused "folder with a blank in its name" in_copy
end_cases
