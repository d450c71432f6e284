#!/usr/bin/env bash
# What bash and zsh offer for penctl and pensim, beside what --help lists.
#
#   tests/packages/completion.sh FOLDER     where penctl and pensim are
#
# Run in the root of the tree.
source tests/checks/cases.sh

PATH=$(cd "$1" && pwd):$PATH
source packaging/completion/zel.bash

# bash_offers WORD...: for the last word, which may be empty.
bash_offers() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    _zel "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf '%s\n' ${COMPREPLY[@]+"${COMPREPLY[@]}"}
}

# zsh_offers WORD...: what the function hands to zsh's own, each name without its description.
zsh_offers() {
    zsh -f -c '
        words=("$@") CURRENT=$# PREFIX=${@[-1]}
        _describe() { print -rl -- ${(P)@[-1]} }
        _files() { print a file }
        source packaging/completion/_zel' zsh "$@" | sed 's/:.*//'
}

# From the help itself, read in another way than the completion does.
helped() {
    local section=$1
    shift
    "$@" --help | perl -ne '$on = /^'"$section"'.*:$/ if /^\S/; print map { "$_\n" } split /,/, (split)[0] if $on && /^  \S/'
}
# offers SHELL SECTION WORD...
offers() {
    local shell=$1 section=$2 last=
    shift 2
    [ "$section" != Options ] || last=-
    same "$("${shell}_offers" "$@" "$last")" "$(helped "$section" "$@")"
}
# File names: bash offers them itself, when the function offers nothing.
offers_files() {
    local shell=$1 expected=
    [ "$shell" != zsh ] || expected="a file"
    same "$("${shell}_offers" "${@:2}")" "$expected"
}

for shell in bash zsh; do
    expect "$shell: the help is read: list is a command" has '^list$' ${shell}_offers penctl ''
    expect "$shell: penctl: its commands" offers $shell Subcommands penctl
    expect "$shell: penctl: its options" offers $shell Options penctl
    expect "$shell: pensim: its options" offers $shell Options pensim
    for command in $(helped Subcommands penctl); do
        expect "$shell: penctl $command: its options" offers $shell Options penctl "$command"
        [ -z "$(helped Subcommands penctl "$command")" ] ||
            expect "$shell: penctl $command: its commands" offers $shell Subcommands penctl "$command"
    done
    expect "$shell: penctl dfu download: its options" offers $shell Options penctl dfu download
    expect "$shell: penctl get: the settings" offers $shell Settings penctl get
    expect "$shell: penctl set: the settings" offers $shell Settings penctl set
    expect "$shell: a file name behind --output" offers_files $shell penctl fetch --output ''
    expect "$shell: a file name behind -o" offers_files $shell penctl fetch -o ''
    expect "$shell: a file name behind --scenario" offers_files $shell pensim --scenario ''
    expect "$shell: a file name for show" offers_files $shell penctl show ''
done
end_cases
