#!/bin/sh
# Builds the fault storm under the address and undefined-behaviour sanitizers, in a folder of its
# own, and runs it; see docs/robustness.md. Takes about half an hour unless told otherwise.
set -eu
cd "$(dirname "$0")/.."

if [ "${1:-}" = --help ]; then
    cat <<EOT
usage: $0 [OPTION OF pinpad-soak]...

Runs 100000 exchanges with waits divided by 100 when no options are given; build/soak/bin/pinpad-soak
--help tells what there is.
EOT
    exit 0
fi

cmake --preset asan -B build/soak -DPINPAD_BUILD_TESTS=ON >/dev/null
cmake --build build/soak -j "$(nproc)" --target pinpad-soak

# Freed memory is kept back for a while to catch its use; without a limit that alone would grow.
ASAN_OPTIONS="quarantine_size_mb=16${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export ASAN_OPTIONS

if [ $# -eq 0 ]; then
    set -- --exchanges 100000 --time-divisor 100
fi
exec nice -n 10 build/soak/bin/pinpad-soak "$@"
