#!/bin/sh
# Builds DLL and tool for 32-bit and 64-bit Windows, checks what they export and import, and drives
# the 64-bit ones under Wine against the virtual PIN pad. Needs the packages of
# `scripts/install-dependencies.sh windows` and the release build of the virtual PIN pad in
# build/release.
set -eu
cd "$(dirname "$0")/.."

scripts/build-windows-dependencies.sh
for preset in windows-x86 windows-x64; do
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
    ctest --test-dir "build/$preset" --output-on-failure --no-tests=error
done

for wine in /usr/lib/wine/wine64 "$(command -v wine64 || true)" "$(command -v wine || true)"; do
    [ ! -x "$wine" ] || break
done
server=/usr/lib/wine/wineserver64
[ -x "$server" ] || server=wineserver

work=$(mktemp -d)
programs=build/windows-x64/bin
device=''
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEARCH=win64
export WINEDLLOVERRIDES='mscoree=d;mshtml=d'

stop_device() {
    [ -z "$device" ] || kill "$device" 2>/dev/null || true
    [ -z "$device" ] || wait "$device" 2>/dev/null || true
    device=''
}
cleanup() {
    stop_device
    "$server" -k 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

start_device() { # arguments of the virtual PIN pad
    stop_device
    build/release/bin/pinpad-sim --link "$work/pinpad" "$@" >"$work/account" 2>&1 &
    device=$!
    tries=0
    while [ ! -e "$work/pinpad" ]; do
        tries=$((tries + 1))
        if [ "$tries" -gt 100 ] || ! kill -0 "$device" 2>/dev/null; then
            echo 'The virtual PIN pad did not start.' >&2
            exit 1
        fi
        sleep 0.05
    done
}

# Wine's processes outlive the command and would hold a pipe open: everything goes to a file.
run() { # what, expected status, expected line, program and its arguments
    what=$1
    expected=$2
    line=$3
    shift 3
    echo "-- $what"
    status=0
    timeout 120 "$wine" "$@" >"$work/output" 2>&1 || status=$?
    tr -d '\r' <"$work/output" >"$work/text"
    if [ "$status" -ne "$expected" ] || ! grep -qF -- "$line" "$work/text"; then
        cat "$work/text" "$work/wine.log" "$work/account"
        echo "$what failed: status $status instead of $expected, or no line \"$line\"." >&2
        exit 1
    fi
}

# The server reads the ports when it starts; it follows the link at each opening.
start_device
"$wine" reg add 'HKEY_LOCAL_MACHINE\Software\Wine\Ports' /v COM33 /d "$work/pinpad" /f \
    >"$work/wine.log" 2>&1
"$server" -k || true
"$server" -w || true

run 'serial port' 0 'all as expected' "$programs/windows_serial.exe" COM33
# Wine lets a second process open the port: that case alone is left out.
start_device --scenario examples/demo.scn
run 'secure session through the DLL' 0 'all as expected' "$programs/windows_host.exe" COM33
start_device --scenario tests/windows/faults.scn
run 'faults of the line' 0 'all as expected' "$programs/windows_faults.exe" COM33
start_device --scenario examples/every_export.scn
run 'every export' 0 'every function was called' "$programs/windows_every_export.exe" COM33

run 'pinpad.exe ports' 0 COM33 "$programs/pinpad.exe" ports
run 'pinpad.exe with a missing port' 4 'No such port: COM77' "$programs/pinpad.exe" \
    --port COM77 open
start_device --scenario examples/demo.scn
run 'pinpad.exe capture' 0 12345678 "$programs/pinpad.exe" --port COM33 --secure \
    capture --min 5 --max 11
start_device
run 'pinpad.exe display' 0 '' "$programs/pinpad.exe" --port COM33 display 'HELLO'
grep -q HELLO "$work/account" || {
    echo 'The display did not show the text.' >&2
    exit 1
}
head -c 20000 /dev/urandom >"$work/film.bin"
run 'pinpad.exe media load' 0 '20000 bytes' "$programs/pinpad.exe" --port COM33 \
    media load "Z:$work/film.bin" --as FILM --type 1
