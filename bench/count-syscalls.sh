#!/bin/sh
# Counts the system calls of one exchange on each side of the pairs: those of 40 exchanges less
# those of 20, so that opening the line does not count. Only the thread of the host is traced.
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
    count "$side" 20
    count "$side" 40
    awk -v side="$side" '
        $1 ~ /^[0-9]+$/ && $2 != "total" { calls[$2] += FILENAME ~ /40$/ ? $1 : -$1 }
        END {
            printf "%-14s", side
            for (name in calls) {
                if (calls[name] >= 10) {
                    printf " %s %.1f", name, calls[name] / 20
                    sum += calls[name] / 20
                }
            }
            printf " total %.1f\n", sum
        }' "$counts/20" "$counts/40"
done
