#!/bin/sh
# Builds DLL and tool for 64-bit and 32-bit Windows, checks what they export and import, and drives
# both under Wine against the virtual PIN pad. Needs the packages of
# `scripts/install-dependencies.sh windows` and the release build of the virtual PIN pad in
# build/release.
# usage: test-windows.sh [64 | 32]
set -eu
cd "$(dirname "$0")/.."
widths=${1:-64 32}

preset_of() { # width
    case "$1" in
        64) echo windows-x64 ;;
        32) echo windows-x86 ;;
    esac
}

scripts/build-windows-dependencies.sh
for width in $widths; do
    preset=$(preset_of "$width")
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
    ctest --test-dir "build/$preset" --output-on-failure --no-tests=error
done

# Under the build folder, where the 32-bit Wine sees it.
mkdir -p build/windows-tests
work=$(mktemp -d "$PWD/build/windows-tests/XXXXXX")
for file in account text wine.log; do
    : >"$work/$file"
done
device=''
server=''
export WINEPREFIX WINEARCH WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=d;mshtml=d'

wine64() {
    for program in /usr/lib/wine/wine64 "$(command -v wine64 || true)" "$(command -v wine)"; do
        [ ! -x "$program" ] || break
    done
    timeout 120 "$program" "$@"
}
server64() {
    for program in /usr/lib/wine/wineserver64 "$(command -v wineserver)"; do
        [ ! -x "$program" ] || break
    done
    timeout 60 "$program" "$@"
}
wine32() {
    WINESERVER=/usr/lib/wine/wineserver32 timeout 120 scripts/wine32.sh /usr/lib/wine/wine "$@"
}
server32() {
    timeout 60 scripts/wine32.sh /usr/lib/wine/wineserver32 "$@"
}

stop_device() {
    [ -z "$device" ] || kill "$device" 2>/dev/null || true
    [ -z "$device" ] || wait "$device" 2>/dev/null || true
    device=''
}
stop_wine() {
    [ -z "$server" ] || "$server" -k >/dev/null 2>&1 || true
    [ -z "$server" ] || "$server" -w >/dev/null 2>&1 || true
    server=''
}
cleanup() {
    stop_device
    stop_wine
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

fail() {
    tail -n 100 "$work/text" "$work/wine.log" "$work/account"
    echo "$width-bit: $1" >&2
    exit 1
}

# Counts what a host says it has looked at, or the run itself. Wine's processes outlive the command
# and would hold a pipe open: everything goes to a file.
run() { # what, expected status, expected line, program and its arguments
    what=$1
    expected=$2
    line=$3
    shift 3
    echo "-- $width-bit: $what"
    status=0
    "wine$width" "$@" >"$work/output" 2>&1 || status=$?
    tr -d '\r' <"$work/output" >"$work/text"
    if [ "$status" -ne "$expected" ] || ! grep -qF -- "$line" "$work/text"; then
        fail "$what failed: status $status instead of $expected, or no line \"$line\"."
    fi
    programs_run=$((programs_run + 1))
    counted=$(sed -n 's/^\([0-9]*\) cases, all as expected$/\1/p' "$work/text")
    cases=$((cases + ${counted:-1}))
}
host() { # what, name of the host
    run "$1" 0 ' cases, all as expected' "$programs/windows_$2.exe" COM33
}

start_wine() {
    stop_wine
    WINEPREFIX=$work/prefix$width
    WINEARCH=win$width
    if [ "$width" = 32 ]; then
        # Without it several of Wine's own DLLs do not load.
        mkdir -p "$WINEPREFIX/drive_c/windows/system32"
        cp build/wine32/root/usr/i686-w64-mingw32/lib/zlib1.dll \
            "$WINEPREFIX/drive_c/windows/system32"
    fi
    server=server$width
    # The server reads the ports when it starts; it follows the link at each opening.
    start_device
    "wine$width" reg add 'HKEY_LOCAL_MACHINE\Software\Wine\Ports' /v COM33 /d "$work/pinpad" /f \
        >"$work/wine.log" 2>&1 || fail 'Wine does not start.'
    "$server" -k || true
    "$server" -w || true
    "$server" -p >"$work/wine.log" 2>&1 # stays, and tells its own log what it has to say
}

drive_all() {
    programs=$PWD/build/$(preset_of "$width")/bin
    programs_run=0
    cases=0

    start_device
    host 'serial port' serial
    start_device --scenario examples/demo.scn
    host 'secure session through the DLL' host
    start_device --scenario tests/windows/faults.scn
    host 'faults of the line' faults
    start_device
    host 'no random numbers' randomness
    host 'abort of a waiting poll' abort
    host 'loading and unloading' reload
    start_device --scenario tests/windows/threads.scn
    host 'threads' threads
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
    grep -q HELLO "$work/account" || fail 'The display did not show the text.'
    head -c 20000 /dev/urandom >"$work/film.bin"
    run 'pinpad.exe media load' 0 '20000 bytes' "$programs/pinpad.exe" --port COM33 \
        media load "Z:$work/film.bin" --as FILM --type 1
}

account=''
for width in $widths; do
    if [ "$width" = 32 ] && ! scripts/wine32.sh fetch >build/windows-tests/wine32.log 2>&1; then
        tail -n 3 build/windows-tests/wine32.log
        account="$account
32-bit: NOT RUN, because Debian's packages of Wine for i386 cannot be had here"
        continue
    fi
    start_wine
    drive_all
    account="$account
$width-bit: $programs_run programs run under Wine, $cases cases, all as expected"
done
echo "$account"
