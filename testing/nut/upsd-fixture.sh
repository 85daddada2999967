#!/bin/sh
# A private device server for runs and tests: one upsd on loopback with its drivers, all files below one directory.
#
#   upsd-fixture.sh start  DIR PORT NAME=SOURCE...   start everything; PORT may be "auto"; prints the port
#   upsd-fixture.sh driver DIR NAME start|stop|kill  one driver of a started server (kill: as a crash would)
#   upsd-fixture.sh server DIR start|stop            the server alone; its drivers stay
#   upsd-fixture.sh stop   DIR                       end everything that was started below DIR
#
# SOURCE is a device file (*.dev, *.seq) for the real dummy-ups, or PROGRAM:FILE for another driver, which is run as
# "PROGRAM STATEPATH NAME FILE" and makes the socket STATEPATH/<basename of PROGRAM>-NAME.
# DIR must be short: DIR/run/dummy-ups-NAME has to stay below the 108 bytes of a socket's name.
#
# Environment: POLL (seconds between two looks of a driver, default 1), MAXAGE (seconds until a silent driver's data
# count as stale, default 15), NUT_TEST_USER and NUT_TEST_PASSWORD (default velk and secret), NUT_LIBDIR (/lib/nut).
set -eu

poll=${POLL:-1}
maxage=${MAXAGE:-15}
user=${NUT_TEST_USER:-velk}
password=${NUT_TEST_PASSWORD:-secret}
libdir=${NUT_LIBDIR:-/lib/nut}

fail() { echo "upsd-fixture: $*" >&2; exit 1; }
[ $# -ge 2 ] || fail "usage: start|driver|server|stop DIR ..."

command=$1
dir=$2
run=$dir/run
shift 2
export NUT_CONFPATH="$dir/etc" NUT_STATEPATH="$run" NUT_ALTPIDPATH="$run" NUT_QUIET_INIT_UPSNOTIFY=true

# Started as root, the programs would change to a user who cannot read DIR.
as_user=
if [ "$(id -u)" = 0 ]; then as_user="-u root"; fi

alive() { kill -0 "$1" 2>/dev/null && ! grep -qs '^State:.Z' "/proc/$1/status"; }

# end_process SIGNAL PIDFILE: sends the signal, waits up to 5 s, then ends it hard. A pid file that is left behind
# would delay the next start of a driver by 5 s, so it goes too.
end_process() {
    [ -s "$2" ] || return 0
    pid=$(cat "$2")
    kill "-$1" "$pid" 2>/dev/null || :
    tries=0
    while alive "$pid"; do
        tries=$((tries + 1))
        if [ "$tries" -gt 100 ]; then kill -KILL "$pid" 2>/dev/null || :; break; fi
        sleep 0.05
    done
    rm -f "$2"
}

source_of() { sed -n "s|^$1=||p" "$dir/sources"; }

driver_name() {
    case $1 in
    *:*) basename "${1%%:*}" ;;
    *) echo dummy-ups ;;
    esac
}

pid_file() { echo "$run/$(driver_name "$(source_of "$1")")-$1.pid"; }

start_driver() {
    source=$(source_of "$1")
    case $source in
    *:*)
        "${source%%:*}" "$run" "$1" "${source#*:}" </dev/null >"$run/$1.log" 2>&1 &
        echo $! >"$(pid_file "$1")"
        ;;
    *) "$libdir/dummy-ups" -q $as_user -a "$1" </dev/null >"$run/$1.log" 2>&1 ;;
    esac
}

stop_driver() {
    end_process "$2" "$(pid_file "$1")"
    rm -f "$run/$(driver_name "$(source_of "$1")")-$1"
}

write_configuration() {
    printf '[%s]\n  password = %s\n  actions = SET\n  actions = FSD\n  instcmds = ALL\n' \
        "$user" "$password" >"$dir/etc/upsd.users"
    printf 'maxretry = 1\npollinterval = %s\n' "$poll" >"$dir/etc/ups.conf"
    while IFS='=' read -r name source; do
        driver=$(driver_name "$source")
        file=$source
        if [ "$driver" != dummy-ups ]; then file=auto; fi
        printf '[%s]\n  driver = %s\n  port = %s\n  desc = "%s"\n' "$name" "$driver" "$file" "$name" \
            >>"$dir/etc/ups.conf"
        case $source in *.seq) echo '  mode = dummy-loop' >>"$dir/etc/ups.conf" ;; esac
    done <"$dir/sources"
    chmod 640 "$dir"/etc/*
}

start_server() { "$libdir/upsd" -q $as_user </dev/null >"$run/upsd.log" 2>&1; }

listen_on() {
    printf 'STATEPATH "%s"\nLISTEN 127.0.0.1 %s\nMAXAGE %s\n' "$run" "$1" "$maxage" >"$dir/etc/upsd.conf"
    echo "$1" >"$dir/port"
}

# The server says at its start whether it got its port, so a free one is found by trying.
start_server_on_free_port() {
    tries=0
    while [ "$tries" -lt 20 ]; do
        listen_on $((20000 + $(od -An -N2 -tu2 /dev/urandom) % 12000))
        if start_server; then return 0; fi
        tries=$((tries + 1))
    done
    return 1
}

has_data() { status=$(upsc "$1@127.0.0.1:$(cat "$dir/port")" ups.status 2>/dev/null) && [ "$status" != WAIT ]; }

wait_until_ready() {
    tries=0
    until has_data "$1"; do
        tries=$((tries + 1))
        [ "$tries" -le 100 ] || fail "$1 is not ready: $(cat "$run/$1.log")"
        sleep 0.1
    done
}

# dummy-ups 2.8.0 often ends by itself when a new server comes before it has noticed that the former one went. A
# service manager would start it again. A driver that was stopped or killed on purpose has no pid file any more.
start_drivers_that_ended() {
    sed 's/=.*//' "$dir/sources" | while read -r name; do
        [ -s "$(pid_file "$name")" ] || continue
        tries=0
        until has_data "$name" || [ "$tries" -gt 100 ]; do
            alive "$(cat "$(pid_file "$name")")" || { rm -f "$(pid_file "$name")"; start_driver "$name"; }
            tries=$((tries + 1))
            sleep 0.1
        done
    done
}

case $command in
start)
    [ $# -ge 2 ] || fail "usage: start DIR PORT NAME=SOURCE..."
    port=$1
    shift
    umask 027
    mkdir -p "$dir/etc" "$run"
    printf '%s\n' "$@" >"$dir/sources"
    write_configuration
    # A driver sleeps a second before it goes to the background, so they start together.
    pids=
    for entry in "$@"; do
        start_driver "${entry%%=*}" &
        pids="$pids $!"
    done
    for pid in $pids; do
        wait "$pid" || fail "a driver did not start: $(cat "$run"/*.log)"
    done
    if [ "$port" = auto ]; then
        start_server_on_free_port || fail "no server: $(cat "$run/upsd.log")"
    else
        listen_on "$port"
        start_server || fail "no server: $(cat "$run/upsd.log")"
    fi
    for entry in "$@"; do wait_until_ready "${entry%%=*}"; done
    cat "$dir/port"
    ;;
driver)
    case $2 in
    start) start_driver "$1" ;;
    stop) stop_driver "$1" TERM ;;
    kill) stop_driver "$1" KILL ;;
    *) fail "driver: start, stop or kill, not $2" ;;
    esac
    ;;
server)
    case $1 in
    start)
        start_server || fail "no server: $(cat "$run/upsd.log")"
        start_drivers_that_ended
        ;;
    stop) end_process TERM "$run/upsd.pid" ;;
    *) fail "server: start or stop, not $1" ;;
    esac
    ;;
stop)
    end_process TERM "$run/upsd.pid"
    for entry in $(sed 's/=.*//' "$dir/sources" 2>/dev/null); do stop_driver "$entry" TERM; done
    ;;
*) fail "unknown command: $command" ;;
esac
