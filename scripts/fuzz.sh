#!/bin/sh
# Builds the fuzzers and runs each of them, as many at a time as there are processors; see
# docs/fuzzing.md. What they learn stays in build/fuzz/corpus, an input that breaks something in
# build/fuzz/found.
set -eu
cd "$(dirname "$0")/.."

usage() {
    echo "usage: $0 [--build FOLDER] [SECONDS | --runs COUNT] [TARGET...]"
    echo
    echo "  SECONDS         for each target, 60 when not given"
    echo "  --runs COUNT    inputs for each target, of which nine in ten are short"
    echo "  --build FOLDER  runs the fuzzers of a build that is there, instead of the preset's"
}

refuse() {
    usage >&2
    exit 2
}

seconds=60
runs=''
build=''
if [ "${1:-}" = --build ]; then
    build=${2:-}
    [ -n "$build" ] || refuse
    shift 2
fi
case "${1:-}" in
    -h | --help)
        usage
        exit 0
        ;;
    --runs)
        case "${2:-}" in '' | *[!0-9]*) refuse ;; esac
        runs=$2
        shift 2
        ;;
    -*) refuse ;;
    [0-9]*)
        case "$1" in *[!0-9]*) refuse ;; esac
        seconds=$1
        shift
        ;;
esac

for target in "$@"; do
    [ -d "fuzz/corpus/$target" ] || {
        echo "$0: there is no target $target; fuzz/corpus has the names" >&2
        exit 2
    }
done

if [ -z "$build" ]; then
    build=build/fuzz
    cmake --preset fuzz >/dev/null
    cmake --build --preset fuzz -j "$(nproc)" --target fuzz/all
fi
# shellcheck disable=SC2046 # a list of names
[ $# -gt 0 ] || set -- $(ls fuzz/corpus)
mkdir -p build/fuzz/found

fuzz() { # options of libFuzzer
    corpus=build/fuzz/corpus/$target
    mkdir -p "$corpus"
    dictionary=fuzz/dictionaries/$target.dict
    [ -f "$dictionary" ] || dictionary=fuzz/dictionaries/line.dict
    "$build/bin/fuzz_$target" "$@" -rss_limit_mb=2048 -print_final_stats=1 \
        -dict="$dictionary" -artifact_prefix=build/fuzz/found/ "$corpus" "fuzz/corpus/$target" \
        >"build/fuzz/$target.log" 2>&1 || {
        tail -n 40 "build/fuzz/$target.log"
        echo "The fuzzer $target failed; what it found, if it did, is in build/fuzz/found." >&2
        return 1
    }
    echo "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$target.log") inputs"
}

run() { # target
    target=$1
    if [ -n "$runs" ]; then
        fuzz -runs=$((runs - runs / 10)) -max_len=300 && fuzz -runs=$((runs / 10)) -max_len=4096
    else
        fuzz -max_total_time="$seconds"
    fi
}

at_a_time=$(nproc)
failed=0
trap 'trap - INT TERM; kill 0' INT TERM
while [ $# -gt 0 ]; do
    running=''
    while [ $# -gt 0 ] && [ "$(echo "$running" | wc -w)" -lt "$at_a_time" ]; do
        run "$1" &
        running="$running $!"
        shift
    done
    for process in $running; do
        wait "$process" || failed=1
    done
done
exit $failed
