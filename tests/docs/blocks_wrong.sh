#!/bin/sh
# The check of the documents fails, and names just the blocks that are wrong.
# usage: blocks_wrong.sh COMMAND OPTION...        the check without its documents
set -eu
folder=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if "$@" "$folder/blocks_wrong.md" "$folder/blocks_wrong.1" "$folder/blocks_wrong.scn" \
    >"$work/count" 2>"$work/said"; then
    echo 'it did not fail'
    exit 1
fi
sed -n 's/.*blocks_wrong\.\([a-z0-9]*:[0-9]*\): .*/\1/p' "$work/said" | cat - "$work/count" |
    diff - "$folder/blocks_wrong.txt" || { cat "$work/said"; exit 1; }
