#!/bin/sh
# The check of the invariants fails, and names just what is not held.
# usage: invariants_unheld.sh PYTHON ROOT BUILD-FOLDER CTEST
set -eu
folder=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if "$1" "$folder/check_invariants.py" "$folder/invariants_unheld.md" "$2" "$3" "$4" >"$work/said"; then
    echo 'it did not fail'
    exit 1
fi
sed -n 's/.*invariants_unheld\.md:/line /p' "$work/said" | diff - "$folder/invariants_unheld.txt"
