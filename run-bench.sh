#!/bin/sh
# Builds the benchmarks, runs them and leaves the figures in build/bench/results:
# ratios.md and ratios.json (one table), growth.csv and plots (SVG), syscalls.txt, size.txt,
# micro.txt, secure_open.txt, abort.txt, load.txt and machine.txt (how busy the machine was).
set -eu
cd "$(dirname "$0")"

usage() {
    echo "usage: $0 [--short]"
    echo
    echo "  --short   three rounds, and without the loads of minutes over the paced line"
}

rounds=11
long_load=262144
open_rounds=100
case "${1:-}" in
    '') ;;
    --short)
        rounds=3
        long_load=0
        open_rounds=5
        ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
esac

scripts/install-dependencies.sh bench

build=build/bench
results=$PWD/$build/results
cmake --preset release -B "$build" -DPINPAD_BUILD_CLI=OFF -DPINPAD_BUILD_EXAMPLES=OFF \
    -DPINPAD_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target ratios micro secure_open abort load_library pinpad pinpad-sim
mkdir -p "$results"

echo '== Ratios'
"$build/bin/ratios" --out "$results" --rounds "$rounds" --long-load "$long_load" \
    --library "$PWD/$build/lib/libpinpad.so"
echo '== Single paths'
"$build/bin/micro" --benchmark_min_time=0.05 >"$results/micro.txt" 2>/dev/null
echo '== Secure open'
"$build/bin/secure_open" "$open_rounds" | tee "$results/secure_open.txt"
echo '== Abort from a second thread'
"$build/bin/abort" "$open_rounds" | tee "$results/abort.txt"
echo '== First load'
"$build/bin/pinpad-sim" --quiet --link "$results/port" >/dev/null &
device=$!
trap 'kill "$device" 2>/dev/null || true' EXIT
sleep 1
round=0
: >"$results/load.txt"
while [ "$round" -lt "$rounds" ]; do
    "$build/bin/load_library" "$PWD/$build/lib/libpinpad.so" "$results/port" \
        | tee -a "$results/load.txt"
    round=$((round + 1))
done
kill "$device"
wait "$device" || true
trap - EXIT
echo '== System calls'
bench/count-syscalls.sh "$build/bin/ratios" | tee "$results/syscalls.txt"
echo '== Size'
strip -o "$results/stripped.so" "$build/lib/libpinpad.so"
size "$results/stripped.so" | tee "$results/size.txt"
wc -c <"$results/stripped.so" | tee -a "$results/size.txt"
rm "$results/stripped.so"
echo '== Plots'
python3 bench/plot.py "$results/growth.csv" "$results"
uptime >"$results/machine.txt"
echo "== Done: $results/ratios.md"
