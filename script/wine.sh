# Runs programs of the Windows build under Wine, with settings of this build tree's own; sourced
# after testing.sh.

export WINEPREFIX=$root/build/wine WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
export WINEPATH="Z:${root//\//\\}\\build\\windows" # where zel.dll is
unset DISPLAY

wine_dir=/usr/lib/wine # Debian's wine64 alone puts no command into the path
wine=("$(command -v wine || command -v wine64 || say "$wine_dir/wine64")")
# Now and then a random address is one that Wine must have, whereupon the program ends with code 1.
wine=("${fixed_addresses[@]}" "${wine[@]}")
wineserver=$(command -v wineserver || say "$wine_dir/wineserver")
wineserver_pid=

start_wine() {
    mkdir -p "$WINEPREFIX"
    "$wineserver" --foreground --persistent </dev/null >"$logs/wineserver.log" 2>&1 &
    wineserver_pid=$!
}

prepare_wine() {
    [ -e "$WINEPREFIX/system.reg" ] || timeout 120 "${wine[@]}" wineboot --init
    timeout 60 "${wine[@]}" cmd /c ver
}

wineserver_died() { ! kill -0 "$wineserver_pid" 2>/dev/null; }

stop_wine() {
    [ -n "$wineserver_pid" ] || return 0
    "$wineserver" --kill 2>/dev/null || true
    wait "$wineserver_pid" 2>/dev/null || true
    wineserver_pid=
}
trap 'stop_running; stop_background; stop_wine' EXIT

# Wine's server process now and then fails an assertion of its own, and takes the programs that
# run with it. That says nothing about the test, which is run again; a test that failed never is.
under_wine() {
    local limit=$1 program=$2 try status
    for try in 1 2 3; do
        status=0
        run_limited "$limit" "${wine[@]}" "$program" || status=$?
        if ! wineserver_died || grep -q '\[  FAILED  \]' "$log"; then
            return "$status"
        fi
        cp "$log" "$log.wineserver-died-$try"
        start_wine
        printf '(Wine'"'"'s server process died: run again) '
    done
    return "$status"
}
