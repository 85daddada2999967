# What every run shows in the same way. Sourced by ../run, which has set: bin, state, device, seconds.

export TESS_URL=sqlite:$state/tess.db
daemon=
followers=
started=$SECONDS
# Sockets and the configuration lie here: sockets need a short path.
place=$(mktemp -d /tmp/velk-run-XXXXXX)

say() { printf '\n\033[1m== %s\033[0m\n' "$*"; }
[ -t 1 ] || say() { printf '\n== %s\n' "$*"; }

# A device's own part of the clean-up; a run that has one defines it anew.
stop_device() { :; }

cleanup() {
    trap '' INT TERM
    if [ -n "$daemon" ] && kill -0 "$daemon" 2>/dev/null; then
        kill -TERM "$daemon"
        wait "$daemon"
    fi
    # shellcheck disable=SC2086
    [ -n "$followers" ] && kill $followers 2>/dev/null
    stop_device
    rm -rf "$place"
}
interrupted() {
    say "Stopping"
    cleanup
    say "The store keeps the last state: TESS_URL=$TESS_URL $bin/tess status"
    "$bin/tess" status
    exit "${1:-0}"
}
# Unattended, an interruption is no success.
trap 'interrupted "$([ -z "$seconds" ] && echo 0 || echo 130)"' INT TERM
fail() {
    echo "run: $*" >&2
    echo "run: the daemon's output is in $state/daemon.log" >&2
    cleanup
    exit 1
}

# until_true SECONDS COMMAND...: tries the command five times a second.
until_true() {
    local left=$(($1 * 5))
    shift
    until "$@" >/dev/null 2>&1; do
        left=$((left - 1))
        [ "$left" -gt 0 ] && kill -0 "$daemon" 2>/dev/null || return 1
        sleep 0.2
    done
}
value_is() { [ "$("$bin/tess" get --json "$1" | tr -d ' \n' | sed -n 's/.*"value":\([^,}]*\).*/\1/p')" = "$2" ]; }

# start_daemon: with the device's section of the configuration from standard input.
start_daemon() {
    say "Starting the daemon"
    rm -f "$state"/tess.db* || return 1
    cat >"$place/velk.json" <<CONFIGURATION || return 1
{
  "maxThreads": 5, "maxCpuLoadPercent": 10, "maxRestTimeMs": 1000,
  "protocolLibraries": ["$PWD/build/dev/lib/velk-mz/protocols/$1"],
$(cat)
}
CONFIGURATION
    "$bin/powerdistributiond" --config "$place/velk.json" --check || return 1
    # In a session of its own, so that a Ctrl-C at the terminal reaches it once, through this script.
    setsid "$bin/powerdistributiond" --config "$place/velk.json" >"$state/daemon.log" 2>&1 9>&- &
    daemon=$!
    tail -n +1 -F "$state/daemon.log" 2>/dev/null &
    followers=$!
    until_true 30 grep -q 'to MONITOR' "$state/daemon.log" && sleep 0.3
}
monitored_twice() { [ "$(grep -c 'to MONITOR' "$state/daemon.log")" -ge 2 ]; }

# The store's picture, once a second, until the daemon ends or somebody presses Ctrl-C.
live() {
    if [ -t 1 ]; then
        "$bin/tess" tree
        sleep 4
        # shellcheck disable=SC2086
        kill $followers 2>/dev/null
        followers=
        while kill -0 "$daemon" 2>/dev/null; do
            # What moves, as far as the window reaches.
            picture=$({
                "$bin/tess" status
                echo
                "$bin/tess" get '**.Measure.*' '**.Status.*' 'CommunicationStatus.*'
            } 2>&1 | head -n $(($(tput lines) - 3)))
            printf '\033[H\033[2J%s\n\nCtrl-C ends it. All of it: TESS_URL=%s %s/tess tree' "$picture" "$TESS_URL" "$bin"
            sleep 1
        done
    else
        "$bin/tess" tree
        "$bin/tess" watch &
        followers="$followers $!"
        wait "$daemon"
    fi
    fail "the daemon has ended"
}

# What is left of the time that was asked for, at least three seconds.
watch_the_rest() {
    say "Changes as they come"
    local left=$((10#$seconds - (SECONDS - started)))
    timeout $((left > 3 ? left : 3)) "$bin/tess" watch
}

# finish WHAT: ends the daemon in order, and says what was shown.
finish() {
    say "Stopping"
    kill -TERM "$daemon"
    wait "$daemon"
    local code=$?
    daemon=
    sleep 0.3
    [ $code = 0 ] || fail "the daemon ended with exit code $code"
    grep -q 'Transition from STOP to END' "$state/daemon.log" || fail "the daemon did not go through STOP to END"
    say "The store keeps the last state"
    "$bin/tess" status
    cleanup
    say "Done in $((SECONDS - started)) s: $1"
}
