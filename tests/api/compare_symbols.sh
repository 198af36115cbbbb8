#!/bin/sh
# Fails unless a shared library exports exactly the listed names and bears the name that hosts are
# linked to: compare_symbols.sh LIBRARY LIST SONAME
set -eu

exported=$(nm --dynamic --defined-only "$1" | awk '{ sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort)
expected=$(LC_ALL=C sort "$2")
if [ "$exported" != "$expected" ]; then
    echo "The library exports:" "$exported" >&2
    echo "but should export:" "$expected" >&2
    exit 1
fi
echo "$(echo "$exported" | wc -l) names, as listed"

soname=$(readelf --dynamic --wide "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]$/\1/p')
if [ "$soname" != "$3" ]; then
    echo "The library's name is $soname, not $3" >&2
    exit 1
fi
echo "$soname, as expected"
