#!/bin/sh
# Where the virtual PIN pad listens is the user's choice, and told: address_test.sh PINPAD-SIM
set -u
simulator=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "$1" >&2
    cat "$work/errors" >&2
    exit 1
}

# Runs the device until it has told its address, or for three seconds.
start() {
    : >"$work/errors"
    "$simulator" --quiet "$@" >/dev/null 2>"$work/errors" </dev/null &
    device=$!
    tries=0
    until grep -q '^open ' "$work/errors" || [ "$tries" -gt 60 ]; do
        tries=$((tries + 1))
        sleep 0.05
    done
    kill "$device" 2>/dev/null
    wait "$device"
}

start --web
grep -q '^open http://127\.0\.0\.1:[0-9]*/$' "$work/errors" || fail 'not on the loopback address'
! grep -q warning "$work/errors" || fail 'a warning for the loopback address'

start --web 0 --web-address 0.0.0.0
grep -q '^warning: whoever reaches 0\.0\.0\.0 port [0-9]* can see and use this PIN pad$' \
    "$work/errors" || fail 'no warning for an address that others reach'

! "$simulator" --quiet --web-address 0.0.0.0 >/dev/null 2>"$work/errors" </dev/null ||
    fail 'an address without --web was taken'
! "$simulator" --quiet --web 0 --web-address localhost >/dev/null 2>"$work/errors" </dev/null ||
    fail 'a name was taken for an address'
grep -q "'localhost' is not an address" "$work/errors" || fail 'the wrong reason'
