#!/bin/sh
# Builds the Windows DLLs, checks what the 32-bit one exports, and drives the 64-bit one under Wine
# against the virtual PIN pad. Needs mingw-w64 (g++-mingw-w64-i686, g++-mingw-w64-x86-64), wine64
# and the release build of the virtual PIN pad in build/release.
set -eu
cd "$(dirname "$0")/.."

scripts/build-windows-dependencies.sh
for preset in windows-x86 windows-x64; do
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
done
ctest --test-dir build/windows-x86 --output-on-failure --no-tests=error

for wine in /usr/lib/wine/wine64 "$(command -v wine64 || true)" "$(command -v wine || true)"; do
    [ ! -x "$wine" ] || break
done
server=/usr/lib/wine/wineserver64
[ -x "$server" ] || server=wineserver

work=$(mktemp -d)
device=''
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEARCH=win64
export WINEDLLOVERRIDES='mscoree=d;mshtml=d'
cleanup() {
    [ -z "$device" ] || kill "$device" 2>/dev/null || true
    "$server" -k 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

build/release/bin/pinpad-sim --scenario examples/demo.scn --link "$work/pinpad" \
    >"$work/account" 2>&1 &
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

# Wine's processes outlive the command and would hold a pipe open: everything goes to a file. The
# server reads the ports when it starts.
"$wine" reg add 'HKEY_LOCAL_MACHINE\Software\Wine\Ports' /v COM33 /d \
    "$(readlink -f "$work/pinpad")" /f >"$work/wine.log" 2>&1
"$server" -k || true
"$server" -w || true

status=0
timeout 120 "$wine" build/windows-x64/bin/windows_host.exe COM33 >"$work/host.log" 2>&1 || status=$?
cat "$work/host.log"
if [ "$status" -ne 0 ] || ! grep -q 'all as expected' "$work/host.log"; then
    cat "$work/wine.log" "$work/account"
    echo "The host under Wine failed (status $status)." >&2
    exit 1
fi
