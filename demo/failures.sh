#!/usr/bin/env bash
# What a person sees in the ten failures that are most likely where power equipment runs: each is brought about for
# real, in a folder of its own, and the commands are shown with what they print.
#
#   demo/failures.sh [BUILD]     after ./run or ./test; BUILD is build/dev unless it is given
set -u
cd "$(dirname "$0")/.." || exit 1
build=${1:-build/dev}
bin=$(cd "$build" && pwd)/bin
plugins=$(cd "$build" && pwd)/lib/velk-mz/protocols
[ -x "$bin/tess" ] || { echo "failures: $bin/tess is not there; ./run builds it" >&2; exit 1; }

place=$(mktemp -d /tmp/velk-failures-XXXXXX)
daemon=
export TESS_URL=sqlite:$place/tess.db
PATH=$bin:$PATH

end_daemon() {
    [ -n "$daemon" ] || return 0
    kill -TERM "$daemon" 2>/dev/null
    wait "$daemon" 2>/dev/null
    daemon=
}
mounted=
cleanup() {
    end_daemon
    [ -z "$mounted" ] || umount "$mounted"
    rm -rf "$place"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

number=0
failure() {
    number=$((number + 1))
    printf '\n== %d. %s\n' "$number" "$1"
}
# shown COMMAND...: the command as a person would type it, and what it says.
shown() {
    printf '$ %s\n' "$(printf '%s ' "$@" | sed "s|$place|/tmp/demo|g; s/ $//")"
    "$@" 2>&1 | sed "s|$place|/tmp/demo|g; s|$plugins|PLUGINS|g" | head -"${lines:-14}"
    local code=${PIPESTATUS[0]}
    [ "$code" = 0 ] || printf '(exit code %s)\n' "$code"
}
daemon_says() {
    printf 'the daemon: %s\n' "$(sed "s|$place|/tmp/demo|g; s|$plugins|PLUGINS|g" "$place/daemon.log" | grep -E "$1" | tail -"${lines:-3}")"
}
until_true() {
    local left=$(($1 * 10))
    shift
    until "$@" >/dev/null 2>&1; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || return 1
        sleep 0.1
    done
}
configure() {
    cat >"$place/velk.json" <<CONFIGURATION
{"maxCpuLoadPercent": 20, "protocolLibraries": ["$plugins/libvelk-mz-protocol-simulator.so"],
 "simulator": {"device": "ups-1ph", "control": "$place/sim.sock"}}
CONFIGURATION
}
start_daemon() {
    powerdistributiond --config "$place/velk.json" >"$place/daemon.log" 2>&1 &
    daemon=$!
    until_true 20 grep -q "${1:-to MONITOR}" "$place/daemon.log"
}

configure
failure "Nobody has started the daemon"
start_daemon && end_daemon
lines=9 shown tess status
shown tess set Outlets.1.Setting.AutomaticSwitchOffDelay 30

failure "The configuration has a typing error"
sed -i 's/"maxCpuLoadPercent": 20,/"maxCpuLoadPercent": 20/' "$place/velk.json"
shown powerdistributiond --config "$place/velk.json" --check
configure

failure "The plug-in is not where the configuration says"
sed -i 's/protocol-simulator/protocol-simulater/' "$place/velk.json"
shown powerdistributiond --config "$place/velk.json" --check
configure

failure "The device does not answer any more"
start_daemon
simctl "$place/sim.sock" fault linkLost >/dev/null || exit 1
until_true 20 grep -q LOST "$place/daemon.log"
lines=9 shown tess status
daemon_says 'lost|LOST|RECOVER'

failure "A path is misspelt"
shown tess get Outlets.1.Status.SwitchOn

failure "A value does not suit the point"
shown tess set Outlets.1.Setting.AutomaticSwitchOffDelay soon
end_daemon

failure "The user may not read the store"
if [ "$(id -u)" = 0 ]; then
    chmod 700 "$place"
    printf '$ tess status       (as another user)\n'
    setpriv --reuid 65534 --regid 65534 --clear-groups env "TESS_URL=$TESS_URL" "$bin/tess" status 2>&1 |
        sed "s|$place|/tmp/demo|g" | head -4
else
    chmod 000 "$place/tess.db"
    shown tess status
    chmod 660 "$place/tess.db"
fi

failure "The store's file is damaged"
cp "$place/tess.db" "$place/good.db"
rm -f "$place"/tess.db-*
dd if=/dev/urandom of="$place/tess.db" bs=1024 count=64 seek=1 conv=notrunc status=none
shown tess status
rm -f "$place"/tess.db*

failure "The disk is full"
mkdir "$place/full"
if mount -t tmpfs -o size=4m tmpfs "$place/full" 2>/dev/null; then
    mounted=$place/full
    export TESS_URL=sqlite:$place/full/tess.db
    start_daemon
    dd if=/dev/zero of="$place/full/other" bs=1k status=none 2>/dev/null
    shown simctl "$place/sim.sock" mains lost
    until_true 10 grep -q WARNING "$place/daemon.log"
    daemon_says WARNING
    shown tess doctor
    rm "$place/full/other"
    sleep 3
    printf '(the other file is gone again)\n'
    shown tess get Status.Mode
    end_daemon
else
    echo "(a file system of its own cannot be mounted here)"
fi

failure "The server of a networked store is away"
TESS_URL=redis://127.0.0.1:1/rack-7 shown tess status
