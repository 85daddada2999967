#!/bin/sh
# house-check.sh RULE SOURCE-DIRECTORY: exits 0 when the rule holds, else lists what breaks it.
set -u
cd "$2" || exit 2

# none_of DIRECTORIES PATTERN: no include in these folders matches the pattern.
none_of() {
    # shellcheck disable=SC2086
    found=$(grep -rnE --include='*.h' --include='*.cpp' "^#include \"($2)/" $1 2>/dev/null)
    [ -z "$found" ] && return 0
    echo "$found"
    failed=1
}

failed=0
case $1 in
dependencies-point-one-way)
    none_of platform 'powerdistribution|plugins|daemon|cli|testing'
    none_of powerdistribution 'plugins|daemon|cli|testing'
    none_of plugins 'daemon|cli|testing|platform/tessapi|platform/qz'
    none_of cli 'powerdistribution|plugins|daemon|testing'
    none_of daemon 'plugins|cli|kit|testing'
    none_of kit 'plugins|daemon|cli|testing'
    none_of platform/common 'platform/(qz|tessapi)'
    none_of platform/qz 'platform/tessapi'
    none_of powerdistribution/sched 'powerdistribution/(core|protocols|alarms|connectors|handlers|datamodel)|platform/(qz|tessapi)'
    none_of powerdistribution/protocols 'powerdistribution/(connectors|handlers|datamodel|sched)|platform/(qz|tessapi)'
    none_of 'powerdistribution/handlers powerdistribution/datamodel' 'platform/(qz|tessapi)'
    ;;
headers-use-no-namespace)
    grep -rnE --include='*.h' '^\s*using namespace' platform powerdistribution plugins daemon cli kit testing tests && failed=1
    ;;
files-are-not-too-long)
    for file in $(find platform powerdistribution plugins daemon cli kit testing tests benchmarks fuzz -name '*.h' -o -name '*.cpp'); do
        lines=$(wc -l <"$file")
        if [ "$lines" -gt 450 ]; then
            echo "$file has $lines lines; 450 are a lot"
            failed=1
        fi
    done
    ;;
no-shell-is-started)
    # A name or a text from outside that reaches a shell is a command. The kit starts one: its user writes the command.
    grep -rnE --include='*.h' --include='*.cpp' '(^|[^[:alnum:]_:.>])((std)?::)?(system|popen|wordexp)[[:space:]]*\([^)]' \
        platform powerdistribution plugins daemon cli && failed=1
    grep -rnE --include='*.h' --include='*.cpp' '"(/usr)?/bin/(ba|da)?sh"|execlp|execvp|posix_spawnp' \
        platform powerdistribution plugins daemon cli && failed=1
    ;;
*) echo "unknown rule: $1"; failed=1 ;;
esac
exit $failed
