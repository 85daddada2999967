#!/bin/sh
# skeleton-test.sh SOURCE BUILD COMPILER [FLAGS]: writes a plug-in with the installed kit, builds it against the installed headers,
# and lets its own tests and the checker try it.
set -eu
source=$1
build=$2
compiler=$3
flags=${4:-}
work=$(mktemp -d /tmp/velk-skeleton-XXXXXX)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
kit=$prefix/bin

step() { echo "-- $*"; }
fail() { echo "$*"; exit 1; }

# refused CODE TEXT ARGUMENT...: velk-plugin-new ends with this code and says this.
refused() {
    code=0
    "$kit/velk-plugin-new" "$3" ${4+"$4"} ${5+"$5"} >"$work/out" 2>&1 || code=$?
    [ "$code" = "$1" ] || fail "velk-plugin-new $3 ended with $code, not $1: $(cat "$work/out")"
    grep -qF "$2" "$work/out" || fail "velk-plugin-new $3 says '$(cat "$work/out")', not '$2'"
}

step "install"
cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { tail -20 "$work/install.log"; exit 1; }

step "names that are none are refused"
refused 2 "'Meter' is no name for a protocol" Meter --dir "$work"
refused 2 "'9meter' is no name for a protocol" 9meter --dir "$work"
refused 2 "'../meter' is no name for a protocol" ../meter --dir "$work"
refused 2 "'class' is no name for a protocol: it means something else in C++" class --dir "$work"
refused 2 "is too long" aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa --dir "$work"
refused 2 "unknown option '--what'" --what
refused 1 "there is no folder $work/none" meter --dir "$work/none"

step "what the guide says can be done, and shows what comes"
PATH=$kit:$PATH CMAKE_PREFIX_PATH=$prefix CXX=$compiler CXXFLAGS=$flags \
    "$source/tests/kit/guide-run.sh" "$source/docs/plugin-guide.md" "$work"

step "a poll that never pauses is refused"
sed 's/"pollIntervalMs": [^,]*/"pollIntervalMs": 0/' "$work/meter/velk.json" >"$work/meter/zero.json"
"$kit/velk-plugin-check" "$work/meter/build/libvelk-mz-protocol-meter.so" --config "$work/meter/zero.json" \
    >"$work/out" && fail "an interval of 0 is taken"
grep -qF 'zero.json:4:23: "pollIntervalMs" is 0, expected at least 1' "$work/out" || fail "$(cat "$work/out")"

step "a skeleton is written once and is its author's own"
refused 1 "$work/meter is there already; it is left as it is" meter --dir "$work"
"$kit/velk-plugin-new" other --dir "$work" >"$work/out"
left=$(grep -rE '@(NAME|UUID)@' "$work/other" || :)
[ -z "$left" ] || fail "something is left to fill in: $left"
uuid_of() { sed -n 's/.*PROTOCOL_UUID{"\(.*\)"};/\1/p' "$work/$1/src/Protocol.cpp"; }
[ -n "$(uuid_of meter)" ] && [ "$(uuid_of meter)" != "$(uuid_of other)" ] || fail "two plug-ins have one Uuid"

step "it installs where the host looks"
cmake --install "$work/meter/build" --prefix "$prefix" >"$work/install.log"
find "$prefix" -path '*/velk-mz/protocols/libvelk-mz-protocol-meter.so' | grep -q . || fail "it is not among the plug-ins"
echo "-- the skeleton is a plug-in"
