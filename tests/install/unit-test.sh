#!/bin/sh
# unit-test.sh SOURCE: the unit of the service is one that systemd takes, and rates at 2.0 at most.
set -eu
source=$1
work=$(mktemp -d /tmp/velk-unit-XXXXXX)
trap 'rm -rf "$work"' EXIT
unit=$work/powerdistributiond.service

command -v systemd-analyze >/dev/null || { echo "systemd-analyze of the package systemd is missing"; exit 1; }

sed -e 's#^ExecStart=.*#ExecStart=/bin/true#' "$source/packaging/powerdistributiond.service.in" >"$unit"
systemd-analyze verify "$unit" 2>"$work/verify" || { cat "$work/verify"; exit 1; }
# What systemd does not know it passes over, and says so.
if grep "^$unit:" "$work/verify"; then exit 1; fi

systemd-analyze security --offline=true --no-pager "$unit" >"$work/security"
exposure=$(sed -n 's/^.*Overall exposure level for [^:]*: \([0-9.]*\) .*$/\1/p' "$work/security")
echo "exposure $exposure"
[ -n "$exposure" ] || { cat "$work/security"; exit 1; }
awk -v exposure="$exposure" 'BEGIN { exit !(exposure <= 2.0) }' || { grep -v '✓' "$work/security"; exit 1; }

for line in 'User=velk' 'Group=velk' 'StateDirectoryMode=2770' 'RuntimeDirectoryMode=2770' 'RuntimeDirectoryPreserve=yes' \
    'UMask=0007' 'NoNewPrivileges=yes' 'CapabilityBoundingSet=' 'ProtectSystem=strict' 'MemoryDenyWriteExecute=yes'; do
    grep -qx "$line" "$unit" || { echo "the unit does not say $line"; exit 1; }
done

# The users and folders that it needs are made by what lies beside it.
grep -qE '^u velk ' "$source/packaging/velk.sysusers" || { echo "nobody makes the user velk"; exit 1; }
for folder in /var/lib/velk /run/velk; do
    grep -qE "^d $folder 2770 velk velk" "$source/packaging/velk.tmpfiles.in" || { echo "nobody makes $folder"; exit 1; }
done
