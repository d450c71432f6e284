# A case of a shell test: "expect WHAT COMMAND..." tells "ok - WHAT" or "not ok - WHAT" with the
# output of the command. Sourced by the scripts beside it, which run in the root of the tree.
set -u
bad_cases=0

expect() {
    local what=$1 output
    shift
    if output=$("$@" 2>&1); then
        printf 'ok - %s\n' "$what"
    else
        printf 'not ok - %s\n%s\n' "$what" "$output"
        bad_cases=$((bad_cases + 1))
    fi
}

# same LIST LIST: whether two lists of names, a name on each line, are the same in any order; shows
# the differences.
same() { diff <(sort <<<"$1") <(sort <<<"$2"); }

# within NAMES ALLOWED: whether each name, on its line, is one of those allowed; shows the others.
within() {
    local others
    others=$(comm -23 <(sort -u <<<"$1") <(sort -u <<<"$2"))
    [ -n "$1" ] && [ -z "$others" ] || { printf 'beyond what is allowed: %s\n' "${others:-nothing was read}"; false; }
}

# has PATTERN COMMAND...: whether a line of what the command prints matches.
has() {
    local pattern=$1
    shift
    "$@" 2>&1 | grep -E -- "$pattern" >/dev/null || { printf 'no line of "%s" has %s\n' "$*" "$pattern"; false; }
}

has_not() { ! has "$@"; }

# ready FILE PROCESS LOG: waits until the process has made the file; shows its log when it does not.
ready() {
    for _ in {1..300}; do
        [ -e "$1" ] && return
        kill -0 "$2" || break
        sleep 0.1
    done
    cat "$3"
    false
}

end_cases() { [ "$bad_cases" = 0 ]; }
