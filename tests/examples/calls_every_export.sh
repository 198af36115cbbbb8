#!/bin/sh
# Checks that a host's log names every export as called: calls_every_export.sh EXPORTS LOG
set -eu

exports=$1
log=$2

missing=0
while IFS= read -r name; do
    if ! grep -qx "$name" "$log"; then
        echo "never called: $name" >&2
        missing=1
    fi
done <"$exports"
grep -qx 'every function was called' "$log"
[ "$missing" -eq 0 ]
