#!/bin/sh
# Builds the library, the virtual PIN pad and the tool, and runs a session between them: secure open,
# capture of digits with a notification in between, close with an idle message. With --web it shows
# the virtual PIN pad in a browser instead, until it is interrupted.
set -eu
cd "$(dirname "$0")"

web=''
case "${1:-}" in
    '') ;;
    --web) web=${2:-8321} ;;
    -h | --help)
        echo "usage: $0 [--web [PORT]]"
        echo 'Installs what is missing (Debian), builds under build/ and runs the demonstration.'
        echo 'With --web the virtual PIN pad is served to browsers on this machine instead.'
        exit 0
        ;;
    *)
        echo "$0: unknown option $1 (see --help)" >&2
        exit 2
        ;;
esac

scripts/install-dependencies.sh build
echo '== Building (build/release)'
cmake --preset release -DPINPAD_BUILD_TESTS=OFF -DPINPAD_UNITY=ON >/dev/null
cmake --build --preset release --target pinpad pinpad-sim pinpad_cli demo

work=$(mktemp -d)
device=''
cleanup() {
    [ -z "$device" ] || kill "$device" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

if [ -n "$web" ]; then
    echo '== Showing the virtual PIN pad; Ctrl+C ends it'
    echo "   In another terminal: build/release/bin/pinpad --port $work/pinpad --secure \\"
    echo '       capture --prompt 3 --min 5 --max 11'
    build/release/bin/pinpad-sim --scenario sim/web/demo.scn --link "$work/pinpad" --web "$web" &
    device=$!
    trap 'exit 0' INT TERM
    wait "$device"
    device=''
    exit 0
fi

echo '== Starting the virtual PIN pad'
mkfifo "$work/account"
sed -u 's/^/  device       | /' <"$work/account" &
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

echo '== Running the application'
build/release/bin/demo "$work/pinpad" >"$work/application" &
application=$!
tail -n +1 -f --pid="$application" "$work/application" 2>/dev/null |
    sed -u 's/^/  application  | /'
wait "$application"
kill "$device"
wait "$device" || true
device=''
echo '== Done'
