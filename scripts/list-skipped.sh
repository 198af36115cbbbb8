#!/bin/sh
# Prints what the last run of a build's tests could not do, a line each: what a test has said behind
# "Not run: ", and the names of tests that were skipped without a word.
# usage: list-skipped.sh BUILD-FOLDER, where ctest's output is in ctest.log
set -eu
awk '
    FILENAME == ARGV[1] {
        if (/\*\*\*Skipped/) {
            silent[$4] = 1
        }
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
    }' "$1/ctest.log" "$1/Testing/Temporary/LastTest.log"
