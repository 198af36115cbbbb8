#!/bin/sh
# Runs a host against the virtual PIN pad: run_host.sh SIMULATOR SCENARIO LOG COMMAND...
# PORT among the words of the command stands for the port. What the host prints goes to LOG too.
# Ends with the host's exit status.
set -eu

simulator=$1
scenario=$2
log=$3
shift 3

work=$(mktemp -d)
device=''
cleanup() {
    [ -z "$device" ] || kill "$device" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

"$simulator" --scenario "$scenario" --link "$work/port" >"$work/account" 2>&1 &
device=$!
tries=0
while [ ! -e "$work/port" ]; do
    tries=$((tries + 1))
    if [ "$tries" -gt 200 ] || ! kill -0 "$device" 2>/dev/null; then
        echo 'The virtual PIN pad did not start:' >&2
        cat "$work/account" >&2
        exit 1
    fi
    sleep 0.05
done

for word in "$@"; do
    [ "$word" != PORT ] || word=$work/port
    set -- "$@" "$word"
    shift
done

status=0
"$@" >"$log" 2>&1 || status=$?
cat "$log"
if [ "$status" -ne 0 ]; then
    echo '--- what the device saw' >&2
    tail -n 20 "$work/account" >&2
fi
exit "$status"
