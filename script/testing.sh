# Steps of a script and what they came to; sourced after common.sh.
#
# check prints a line with its time, and counts as one test; others leave their counts in $tally. finish
# prints the sum and ends the script.

tally=$logs/tally # "PASSED FAILED" on each line
: >"$tally"
rm -rf build/*/Testing/results # what GoogleTest programs of an earlier run left
rm -f "$logs/failed_steps"

background= # process group of what start_background started

# start_background FUNCTION: which calls background for each step, while the script goes on.
start_background() {
    rm -f "$logs"/background-*
    set -m # a process group of its own, so that it can be stopped
    (renice -n 10 "$BASHPID" && "$1") </dev/null >/dev/null 2>&1 & # the tests come first
    background=$!
    set +m
}

# background NAME COMMAND...: a step in the background; "finished NAME" waits for it.
background() {
    local log=$logs/background-$1 status=0
    shift
    ("$@") >"$log.log" 2>&1 || status=$?
    say "$status" >"$log.part" && mv "$log.part" "$log.status"
}

# finished NAME: what a step in the background printed, and how it ended.
finished() {
    local log=$logs/background-$1
    while ! [ -e "$log.status" ] && kill -0 "$background" 2>/dev/null; do sleep 0.2; done
    cat "$log.log"
    return "$(cat "$log.status")"
}

stop_background() {
    [ -z "$background" ] || kill -- "-$background" 2>/dev/null || true
    background=
}
trap stop_background EXIT
trap 'exit 130' INT TERM

# check NAME COMMAND...
check() {
    local began=$SECONDS result=ok
    log=$(log_of "$1")
    printf '%-34s ' "$1"
    shift
    ("$@") </dev/null >"$log" 2>&1 || result=FAILED
    say "$result ($((SECONDS - began)) s)"
    if [ $result = FAILED ]; then
        say "0 1" >>"$tally"
        show_failure "$log"
        return 1
    fi
    say "1 0" >>"$tally"
}

# run_tests NAME PRESET [OPTION...]: by CTest; in the background, too.
run_tests() {
    local name=$1 preset=$2 report=$logs/$1.xml
    log=$logs/$1.log
    shift 2
    rm -f "$report"
    mkdir -p "build/$preset/Testing/results"
    ctest --preset "$preset" --quiet --output-junit "$report" --output-log "$log" \
        --test-output-size-passed 1000000 --test-output-size-failed 1000000 "$@" </dev/null >"$log.console" 2>&1 || true
    script/summary "$name" "$preset" "$report" "build/$preset/Testing/results" "$tally" || : >"$logs/failed_steps"
}

finish() {
    local passed=0 failed=0 more bad
    while read -r more bad; do
        passed=$((passed + more)) failed=$((failed + bad))
    done <"$tally"
    # A step that failed without a count of it is a failure too.
    ! [ -e "$logs/failed_steps" ] || [ $failed != 0 ] || failed=1
    say
    say "$passed passed, $failed failed"
    [ $failed = 0 ] && [ $passed != 0 ] || exit 1
    exit 0
}
