# A simulated device and a scenario that it lives through. Sourced by ../run.

scenario=$device
case $device in
ups-3ph)
    scenario=demo
    followed=(Status.Mode CommunicationStatus.State BackupSystem.PowerBank.Measure.StateOfCharge
        'BackupSystem.PowerBank.Status.*Test*')
    ;;
ups-1ph) followed=(Status.Mode Inputs.1.Measure.Voltage 'Outlets.8.Status.*') ;;
ats) followed=(Status.Mode 'Inputs.*.Status.*' Setting.PreferredSource) ;;
pdu)
    device=pdu-42
    scenario=pdu-42
    followed=('Outlets.1.Measure.ActivePower' 'Outlets.2.Status.*' 'Inputs.1.Phases.*.Measure.Voltage' Branches.1.Measure.Current Branches.1.Measure.PercentLoad)
    ;;
esac
control=$place/sim.sock
changes=$state/changes.txt
seen=0

# happens SECONDS TEXT WHAT: waits until the followed changes, after what was found before, have a line with the text.
comes() { tail -n +"$((seen + 1))" "$changes" | grep -qiE "$1"; }
happens() {
    until_true "$1" comes "$2" || fail "$3: no such change within $1 seconds; $changes has those that were seen"
    seen=$((seen + $(tail -n +"$((seen + 1))" "$changes" | grep -niE -m 1 "$2" | cut -d: -f1)))
    passed="$passed${passed:+, }$3"
}

# What each device's scenario must make of the store, in this order.
story_of_ups_3ph() {
    happens 20 'Status.Mode .*-> on battery' "mains lost, on battery"
    happens 20 'critical charge-low raised' "low charge raised"
    say "The alarms of the store"
    "$bin/tess" alarms
    happens 30 'Status.Mode .*-> on line' "mains back"
    happens 20 'critical charge-low cleared' "low charge cleared"
    happens 30 'LastTestResult .*-> success' "battery tested"
    happens 20 'CommunicationStatus.State .*-> lost' "link lost"
    "$bin/tess" status
    happens 20 'CommunicationStatus.State .*-> connected' "link recovered"
    until_true 10 monitored_twice || fail "the daemon did not return to MONITOR"
}
story_of_ups_1ph() {
    happens 20 'Status.Mode .*boost' "boosted"
    happens 20 'Status.Mode .*buck' "bucked"
    happens 20 'Status.Mode .*-> on battery' "on battery"
    "$bin/tess" status
    happens 20 'Outlets.8.Status.SwitchedOn .*yes -> no' "outlet switched off"
    happens 20 'Status.Mode .*on battery -> ' "mains back"
    happens 20 'Outlets.8.Status.SwitchedOn .*no -> yes' "outlet switched on"
}
story_of_ats() {
    happens 20 'Status.Mode .*-> on alternate source' "transferred"
    "$bin/tess" status
    happens 30 'Status.Mode .*-> on preferred source' "returned"
    happens 30 'Setting.PreferredSource .*-> ' "the other source preferred"
}
story_of_pdu_42() {
    happens 20 'Outlets.1.Measure.ActivePower .*-> ' "load risen"
    happens 20 'Outlets.2.Status.SwitchedOn .*yes -> no' "outlet switched off"
    "$bin/tess" status
    happens 20 'Outlets.2.Status.SwitchedOn .*no -> yes' "outlet switched on"
    happens 20 'Inputs.1.Phases.2.Measure.Voltage .*-> ' "phase sagged"
}

start_daemon libvelk-mz-protocol-simulator.so <<SECTION || fail "the daemon did not reach MONITOR within 30 seconds"
  "simulator": {"device": "$device", "control": "sim.sock"}
SECTION
until_true 10 value_is CommunicationStatus.State 2 || fail "the store does not say that the device is connected"
cat <<HINT

In a second terminal:
  export TESS_URL=$TESS_URL
  $bin/tess tree
  $bin/tess watch
  $bin/tess explain Status.Mode
  $bin/tess events
  $bin/tess history Inputs.1.Measure.Voltage
  $bin/tess doctor
Pull the plug by hand:
  $bin/simctl $control mains lost
  $bin/simctl $control mains normal
HINT
say "The device as every program of this machine sees it"
"$bin/tess" status || fail "tess status failed"
echo
echo "($("$bin/tess" get --json '**' | grep -o '"path"' | wc -l) data points; tess tree shows them all)"

: >"$changes"
(trap - INT; exec "$bin/tess" watch --deadband 5 --interval 2 "${followed[@]}" 2>/dev/null) > >(tee "$changes") &
followers="$followers $!"
sleep 0.5
"$bin/simctl" "$control" play "plugins/simulator/scenarios/$scenario.json" |
    while IFS= read -r line; do say "${line#*s  }"; done &
player=$!
passed=
"story_of_${device//-/_}"
wait "$player"

if [ -z "$seconds" ]; then
    live
fi
if [ "$device" = ups-3ph ]; then
    say "What the device itself noted"
    "$bin/tess" logs -n 6 || fail "tess logs failed"
    say "Where a value comes from"
    "$bin/tess" explain BackupSystem.PowerBank.Measure.StateOfCharge || fail "tess explain failed"
    say "What it was"
    "$bin/tess" history BackupSystem.PowerBank.Measure.StateOfCharge --since 2m || fail "tess history failed"
    say "Alarms that came and went"
    "$bin/tess" alarms --history || fail "tess alarms --history failed"
    say "All that happened"
    "$bin/tess" events || fail "tess events failed"
fi
say "Whether all is well with the store and the daemon"
# Its exit code counts what it has found, and a machine may lack what a service has.
"$bin/tess" doctor --config "$place/velk.json" || true
say "The device after all that"
"$bin/tess" status
[ $((SECONDS - started + 4)) -ge "$((10#$seconds))" ] || watch_the_rest
finish "$passed"
