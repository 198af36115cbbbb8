#!/bin/sh
# Counts the system calls of one exchange on each side of the pairs: those of 300 exchanges less
# those of 100, so that opening the line does not count. Only the thread of the host is traced.
#
# usage: count-syscalls.sh RATIOS
set -eu
ratios=$1
counts=$(mktemp -d)
trap 'rm -rf "$counts"' EXIT

count() { # side, turns
    strace -c -U calls,name -o "$counts/$2" "$ratios" --turns "$1" "$2"
}

for side in ours-text bare-text modbus-text ours-list bare-list modbus-list ours-record bare-record; do
    count "$side" 100
    count "$side" 300
    awk -v side="$side" '
        $1 ~ /^[0-9]+$/ && $2 != "total" { calls[$2] += FILENAME ~ /300$/ ? $1 : -$1 }
        END {
            printf "%-14s", side
            for (name in calls) {
                if (calls[name] >= 100) {
                    printf " %s %.1f", name, calls[name] / 200
                    sum += calls[name] / 200
                }
            }
            printf " total %.1f\n", sum
        }' "$counts/100" "$counts/300"
done
