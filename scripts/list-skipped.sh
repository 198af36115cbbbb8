#!/bin/sh
# Prints what the last run of a build's tests could not do, a line each: what a test has said behind
# "Not run: ", and the names of tests that were skipped without a word.
# usage: list-skipped.sh BUILD-FOLDER, where ctest's output is in ctest.log
set -eu
{
    grep -a '\*\*\*Skipped' "$1/ctest.log" || true
    # What the tests print beside it may be any bytes.
    grep -aE ' Testing: |^Not run: ' "$1/Testing/Temporary/LastTest.log"
} | awk '
    /\*\*\*Skipped/ {
        silent[$4] = 1
        next
    }
    / Testing: / { name = $3 }
    sub(/^Not run: /, "") {
        delete silent[name]
        print
    }
    END {
        for (name in silent) {
            print name ": skipped, and it does not say why"
        }
    }'
