#!/bin/sh
# Prints the lines and branches of the library that a coverage build's tests reached, and fails if
# scripts/coverage-reviewed.txt does not explain each line that they did not.
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD-FOLDER}
gcovr --root . --object-directory "$build" --exclude-throw-branches \
    --filter 'core/' --filter 'serial/' --filter 'abecs/' --filter 'ext/' --filter 'api/' \
    --json "$build/coverage.json" --txt - --print-summary
python3 scripts/unreached-lines.py "$build/coverage.json" scripts/coverage-reviewed.txt
