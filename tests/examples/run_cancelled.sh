#!/bin/sh
# Cancels the till of one language 30 times, at every question and at other moments of it, and once
# in a while before the first:
#   run_cancelled.sh SIMULATOR WORK COMMAND...
# Each time the device is told, the till says so and closes the session.
set -eu

simulator=$1
work=$2
shift 2

tills=30
at_once=10

fail() { # number, what
    echo "till $1: $2" >&2
    tail -n 20 "$work/$1"/log "$work/$1"/account >&2
    exit 1
}

wait_for() { # number, test, argument...
    number=$1
    shift
    tries=0
    until "$@" 2>/dev/null; do
        tries=$((tries + 1))
        [ "$tries" -le 400 ] || fail "$number" "waited in vain: $*"
        sleep 0.05
    done
}

# What the customer has answered before the cashier cancels, and the command that waits then.
scenario() { # number
    case $(($1 % 4)) in
        0) printf 'capture live\n' ;;
        1) printf 'capture keys 12345 enter\nqrcode live\n' ;;
        2) printf 'capture keys 12345 enter\nqrcode enter\nsurvey live\n' ;;
        3) printf 'capture live\n' ;;
    esac
}

cancelled_till() { # number, command...
    number=$1
    shift
    till=$work/$number
    mkdir -p "$till"
    scenario "$number" >"$till/scenario"
    mkfifo "$till/cashier"
    "$simulator" --json --scenario "$till/scenario" --link "$till/port" >"$till/account" 2>&1 &
    device=$!
    trap 'kill "$device"' EXIT
    wait_for "$number" test -e "$till/port"
    # Open for both directions, so that neither end waits for the other.
    exec 3<>"$till/cashier"
    "$@" "$till/port" <&3 >"$till/log" 2>&1 &
    running=$!
    case $((number % 4)) in
        0) wait_for "$number" grep -q '"id":"GCD","kind":"command"' "$till/account" ;;
        1) wait_for "$number" grep -q '"id":"QR01","kind":"command"' "$till/account" ;;
        2) wait_for "$number" grep -q '"id":"EX08","kind":"command"' "$till/account" ;;
    esac
    sleep "$(printf '0.%03d' $((number * number % 400)))"
    echo cancel >&3
    status=0
    wait "$running" || status=$?
    [ "$status" -eq 0 ] || fail "$number" "exit status $status"
    printf 'cancelled\nclosed\n' >"$till/expected"
    tail -n 2 "$till/log" | cmp -s - "$till/expected" || fail "$number" 'did not say so'
    if [ $((number % 4)) -ne 3 ]; then
        grep -q '"kind":"abort"' "$till/account" || fail "$number" 'the device was not told'
    fi
    touch "$till/done"
}

rm -rf "$work"
mkdir -p "$work"
number=0
while [ "$number" -lt "$tills" ]; do
    number=$((number + 1))
    (cancelled_till "$number" "$@") &
    [ $((number % at_once)) -ne 0 ] || wait
done
wait
cancelled=$(find "$work" -name 'done' | wc -l)
echo "$cancelled of $tills were cancelled"
[ "$cancelled" -eq "$tills" ]
