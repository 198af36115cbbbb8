#!/bin/sh
# Prints the lines and branches of the library that a coverage build's tests reached.
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD-FOLDER}
gcovr --root . --object-directory "$build" --exclude-throw-branches \
    --filter 'core/' --filter 'serial/' --filter 'abecs/' --filter 'ext/' --filter 'api/' \
    --print-summary
