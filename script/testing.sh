# How the scripts run tests and count them; sourced after common.sh.
#
# Every step prints one line with its time. A step that runs test cases counts each of them,
# any other step counts as one. finish prints the sum and ends the script.

passed=0
failed=0
running= # process group of the test program that is running

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

stop_running() {
    [ -z "$running" ] || kill -KILL -- "-$running" 2>/dev/null || true
    running=
}
trap 'stop_running; stop_background' EXIT
trap 'exit 130' INT TERM

# Starts the calling script again in a network namespace of its own, where that is permitted:
# port 3715 is free there, and nothing that listens on this machine can be disturbed.
enter_own_network() {
    [ -z "${ZEL_TEST_OWN_NETWORK:-}" ] || return 0
    local unshare=(unshare --net)
    [ "$(id -u)" = 0 ] || unshare+=(--map-root-user)
    if "${unshare[@]}" ip link set lo up 2>/dev/null; then
        ZEL_TEST_OWN_NETWORK=1 exec "${unshare[@]}" -- sh -c 'ip link set lo up && exec "$@"' sh "$0" "$@"
    fi
    say "No network namespace to be had: the tests use this machine's port $rendezvous_port."
    need_rendezvous_port
}

begin_step() {
    step=$1
    log=$(log_of "$step")
    step_began=$SECONDS
    printf '%-34s ' "$step"
}

# end_step RESULT: the rest of the step's line
end_step() { printf '%s (%d s)\n' "$1" $((SECONDS - step_began)); }

fail_step() {
    end_step "FAILED${1:+: $1}"
    show_failure "$log"
}

# check NAME COMMAND...: a step that counts as one.
check() {
    begin_step "$1"
    shift
    if ("$@") </dev/null >"$log" 2>&1; then
        end_step ok
        passed=$((passed + 1))
    else
        fail_step
        failed=$((failed + 1))
        return 1
    fi
}

# cases NAME COMMAND...: a step whose output tells "ok - ..." or "not ok - ..." for each case.
cases() {
    local status=0 good bad
    begin_step "$1"
    shift
    ("$@") </dev/null >"$log" 2>&1 || status=$?
    good=$(grep -c '^ok - ' "$log" || true)
    bad=$(grep -c '^not ok - ' "$log" || true)
    # Ended early, or told nothing: what it did not get to is a failure too.
    [ "$status" = 0 ] && [ "$good" != 0 ] || [ "$bad" != 0 ] || bad=1
    tally "$good" "$bad" 0
}

# tally PASSED FAILED SKIPPED: ends a step of many cases.
tally() {
    passed=$((passed + $1))
    failed=$((failed + $2))
    local skipped=
    [ "$3" = 0 ] || skipped=", $3 skipped"
    if [ "$2" = 0 ]; then
        end_step "$1 passed$skipped"
    else
        fail_step "$1 passed, $2 failed$skipped"
    fi
}

# run_limited SECONDS COMMAND...: with its output in $log; a program that hangs is killed, after
# a look at its stacks. Returns its exit code, 124 for one that hung.
run_limited() {
    local end=$((SECONDS + $1)) status=0
    shift
    setsid "$@" </dev/null >"$log" 2>&1 &
    running=$!
    while kill -0 "$running" 2>/dev/null; do
        if ((SECONDS >= end)); then
            show_stacks "$running" >>"$log" 2>&1
            say "ERROR: did not end in time and was killed" >>"$log"
            stop_running
            return 124
        fi
        sleep 0.05
    done
    wait "$running" || status=$?
    stop_running # whatever it started and left behind
    return "$status"
}

show_stacks() {
    if command -v gdb >/dev/null; then
        timeout 60 gdb -p "$1" -batch -ex 'set pagination off' -ex 'thread apply all backtrace' </dev/null || true
    fi
}

# count_results REPORT EXIT_CODE: the cases of one run of a GoogleTest program, as "passed failed skipped".
# A program that died wrote no report: then its log tells how far it came.
count_results() {
    local report=$1 status=$2 good bad skipped
    if [ -s "$report" ]; then
        bad=$(sed -n 's/^<testsuites .*failures="\([0-9]*\)".*errors="\([0-9]*\)".*/\1 + \2/p' "$report")
        bad=$((bad))
        good=$(($(grep -c '<testcase .*result="completed"' "$report" || true) - bad))
        skipped=$(grep -c '<testcase .*result="skipped"' "$report" || true)
    else
        good=$(grep -c '\[       OK \]' "$log" || true)
        bad=$(grep -c '\[  FAILED  \].* ms)' "$log" || true)
        skipped=0
        status=1
    fi
    [ "$status" = 0 ] && [ "$good" != 0 ] || [ "$bad" != 0 ] || bad=1
    say "$good $bad $skipped"
}

# gtest NAME SECONDS RUNNER PROGRAM: runs a GoogleTest program, by the function RUNNER.
gtest() {
    local name=$1 limit=$2 runner=$3 program=$4 status=0 report
    begin_step "$name"
    report=${log#"$root/"}
    report=${report%.log}.xml
    rm -f "$report"
    # A relative path, which Windows programs understand too.
    GTEST_OUTPUT=xml:$report GTEST_COLOR=no "$runner" "$limit" "$program" || status=$?
    tally $(count_results "$report" "$status")
}

# Before a command that must not find its addresses taken, where that can be had.
fixed_addresses=()
! setarch --addr-no-randomize true 2>/dev/null || fixed_addresses=(setarch --addr-no-randomize)

natively() { run_limited "$1" "$2"; }

# suite PRESET SECONDS RUNNER [NAME...]: every test program of a build, or those named.
suite() {
    local preset=$1 limit=$2 runner=$3 name program
    shift 3
    while read -r name program; do
        case " $* " in
            "  " | *" $name "*) gtest "$preset: $name" "$limit" "$runner" "$program" || true ;;
        esac
    done <"build/$preset/tests.txt"
}

# scripted NAME PRESET: what CTest knows of a build beside its GoogleTest programs.
scripted() {
    local good bad
    begin_step "$1"
    ctest --test-dir "build/$2" --label-exclude gtest --timeout 300 --output-on-failure </dev/null >"$log" 2>&1 || true
    good=$(grep -cE '^ *[0-9]+/[0-9]+ Test .* Passed ' "$log" || true)
    bad=$(grep -cE '^ *[0-9]+/[0-9]+ Test .*\*\*\*' "$log" || true)
    [ $((good + bad)) != 0 ] || bad=1
    tally "$good" "$bad" 0
}

# python_tests NAME CONFIGURATION FOLDER_OR_FILE...: tests for pytest.
python_tests() {
    local status=0 good bad
    begin_step "$1"
    run_limited 300 env PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m pytest -q -p no:cacheprovider -c "$2" "${@:3}" || status=$?
    good=$(sed -nE '$s/^.*\b([0-9]+) passed.*$/\1/p' "$log")
    bad=$(sed -nE '$s/^.*\b([0-9]+) (failed|errors?).*$/\1/p' "$log")
    [ "$status" = 0 ] && [ -n "$good" ] || bad=${bad:-1}
    tally "${good:-0}" "${bad:-0}" 0
}

# nunit_tests NAME FOLDER: the tests of an assembly, against the native build.
nunit_tests() {
    local status=0 good bad all
    begin_step "$1"
    run_limited 300 env "ZEL_ROOT=$root" "ZEL_PENSIM=$root/build/native/bin/pensim" \
        "LD_LIBRARY_PATH=$root/build/native" nunit-console -nologo -noshadow -noxml -domain=None \
        "$2/Zel.Tests.dll" || status=$?
    all=$(sed -nE 's/^Tests run: ([0-9]+), .*/\1/p' "$log")
    bad=$(($(sed -nE 's/^Tests run: .*Errors: ([0-9]+), Failures: ([0-9]+),.*/\1 + \2/p' "$log")))
    good=$((${all:-0} - bad))
    [ "$status" = 0 ] && [ "$good" != 0 ] || [ "$bad" != 0 ] || bad=1
    tally "$good" "$bad" 0
}

finish() {
    say
    say "$passed passed, $failed failed"
    [ "$failed" = 0 ] && [ "$passed" != 0 ] || exit 1
    exit 0
}
