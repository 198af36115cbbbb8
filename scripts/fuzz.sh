#!/bin/sh
# Builds the fuzzers and runs each of them for some seconds; see docs/fuzzing.md. What they learn
# stays in build/fuzz/corpus, an input that breaks something in build/fuzz/found.
set -eu
cd "$(dirname "$0")/.."

usage() {
    echo "usage: $0 [SECONDS [TARGET...]]"
    echo
    echo "  SECONDS  for each target, 60 when not given"
}

case "${1:-}" in
    -h | --help)
        usage
        exit 0
        ;;
    *[!0-9]*)
        usage >&2
        exit 2
        ;;
esac
seconds=${1:-60}
[ $# -eq 0 ] || shift

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)" --target fuzz/all
# shellcheck disable=SC2046 # a list of names
[ $# -gt 0 ] || set -- $(ls fuzz/corpus)

mkdir -p build/fuzz/found
for target in "$@"; do
    corpus=build/fuzz/corpus/$target
    mkdir -p "$corpus"
    dictionary=fuzz/dictionaries/$target.dict
    [ -f "$dictionary" ] || dictionary=fuzz/dictionaries/line.dict
    build/fuzz/bin/fuzz_"$target" -max_total_time="$seconds" -rss_limit_mb=2048 -print_final_stats=1 \
        -dict="$dictionary" -artifact_prefix=build/fuzz/found/ "$corpus" "fuzz/corpus/$target" \
        >"build/fuzz/$target.log" 2>&1 || {
        tail -n 40 "build/fuzz/$target.log"
        echo "The fuzzer $target found something; its input is in build/fuzz/found." >&2
        exit 1
    }
    echo "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$target.log") inputs"
done
