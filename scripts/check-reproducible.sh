#!/bin/sh
# Builds the shared library of the revision that is checked out twice, in folders of different
# names, and compares the bytes.
set -eu
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' INT TERM
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

build() { # folder
    git clone -q . "$1"
    (cd "$1" && cmake --preset release -DPINPAD_BUILD_SIM=OFF -DPINPAD_BUILD_CLI=OFF \
        -DPINPAD_BUILD_EXAMPLES=OFF -DPINPAD_BUILD_BENCH=OFF -DPINPAD_BUILD_TESTS=OFF \
        && cmake --build build/release -j "$(nproc)" --target pinpad) >"$work/log" 2>&1 || {
        tail -n 30 "$work/log"
        exit 1
    }
}

build "$work/one"
sleep 1
build "$work/another-folder"
cmp "$work/one/build/release/lib/libpinpad.so" "$work/another-folder/build/release/lib/libpinpad.so"
sha256sum "$work/one/build/release/lib/libpinpad.so" | cut -d ' ' -f 1
