# A real device server on loopback with a recorded UPS. Sourced by ../run.

fixture=$PWD/testing/nut/upsd-fixture.sh
stop_device() { "$fixture" stop "$place" >/dev/null 2>&1; }

start_server() {
    say "Starting a device server on loopback with a recorded UPS"
    cat plugins/nut/demo/ups-1ph.dev plugins/nut/demo/ups-1ph.events >"$place/ups.seq" || return 1
    port=$("$fixture" start "$place" auto "u1=$place/ups.seq" 9>&-) || return 1
    echo "upsd serves u1 at 127.0.0.1:$port"
}

start_server || fail "the device server did not start"
cp plugins/nut/demo/alarms.json "$place/alarms.json" || fail "the alarm file is missing"
(umask 077 && echo secret >"$place/upsd.pass")
start_daemon libvelk-mz-protocol-nut.so <<SECTION || fail "the daemon did not reach MONITOR within 30 seconds"
  "nut": {"host": "127.0.0.1", "port": $port, "ups": "u1", "user": "velk", "passwordFile": "upsd.pass",
          "pollIntervalMs": 1000, "alarmFile": "alarms.json"}
SECTION
cat <<HINT

In a second terminal:
  export TESS_URL=$TESS_URL
  $bin/tess tree
  $bin/tess watch
  $bin/tess set Outlets.1.Setting.AutomaticSwitchOnDelay 7
  $bin/tess do Outlets.2 SwitchOn
Pull the device away and bring it back:
  $fixture driver $place u1 stop
  $fixture driver $place u1 start
HINT

[ -n "$seconds" ] || live

setting=Outlets.1.Setting.AutomaticSwitchOnDelay
status=CommunicationStatus.State
until_true 10 value_is $status 2 || fail "the store does not say that the device is connected"
say "The store: what every program of the machine sees"
"$bin/tess" tree || fail "tess tree failed"

say "A setting goes to the device"
"$bin/tess" set $setting 7 || fail "the setting did not reach the device"
asked=$(upsc "u1@127.0.0.1:$port" outlet.1.delay.start 2>/dev/null)
[ "$asked" = 7 ] || fail "the device server still says $asked"
echo "the device server says: outlet.1.delay.start = $asked"

say "An action"
"$bin/tess" do Outlets.2 SwitchOn --yes || fail "the action was not taken"
echo "the device server says: outlet.2.switch = $(upsc "u1@127.0.0.1:$port" outlet.2.switch 2>/dev/null)"

say "The device goes away"
"$fixture" driver "$place" u1 stop
until_true 10 value_is $status 3 || fail "the store did not notice within 10 seconds"
"$bin/tess" status

say "The device comes back"
"$fixture" driver "$place" u1 start 9>&- || fail "the driver did not start again"
until_true 20 value_is $status 2 || fail "the store did not recover within 20 seconds"
until_true 20 monitored_twice || fail "the daemon did not return to MONITOR"
"$bin/tess" status

say "All that happened"
"$bin/tess" events || fail "tess events failed"

watch_the_rest
finish "started, set, acted, lost, recovered, stopped"
