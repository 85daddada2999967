#!/bin/sh
# guide-run.sh GUIDE FOLDER: does what the guide's console blocks say, in their order, beginning in FOLDER, and holds what
# comes against what they show. A block is marked by a line "<!-- run -->" before it; a line that begins with "$ " is a
# command, the lines behind it what it prints. A command without such lines only has to succeed. Counts of wrappers and
# times may differ.
set -eu
guide=$(readlink -f "$1")
cd "$2"
log=$(mktemp)
trap 'rm -f "$log"' EXIT

plain() { sed -E 's/[0-9.]+ s$/N s/; s/[0-9]+ wrappers tried/N wrappers tried/; s/"(wrappers|seconds)": [0-9.]+/"\1": N/'; }

command=
expected=
commands=0

perform() {
    [ -n "$command" ] || return 0
    commands=$((commands + 1))
    echo "-- $command"
    # In this shell, since a block may change the folder.
    eval "$command" >"$log" 2>&1 </dev/null || { cat "$log"; echo "the guide's command failed: $command"; exit 1; }
    if [ -n "$expected" ] && [ "$(plain <"$log")" != "$(printf '%s' "$expected" | plain)" ]; then
        printf 'the guide shows\n%s\nand this came:\n' "$expected"
        cat "$log"
        exit 1
    fi
    command=
    expected=
}

state=text
while IFS= read -r line; do
    case $state:$line in
    text:'<!-- run -->') state=marked ;;
    marked:'```console') state=block ;;
    marked:*) echo "a run mark without a console block: $line"; exit 1 ;;
    text:'```console') echo "a console block without a run mark"; exit 1 ;;
    block:'```') perform; state=text ;;
    block:'$ '*) perform; command=${line#??} ;;
    block:*)
        case $command in
        *\\) command="${command%?}${line}" ;;
        *) expected="$expected$line
" ;;
        esac
        ;;
    esac
done <"$guide"
[ "$commands" -ge 8 ] || { echo "only $commands commands in the guide"; exit 1; }
