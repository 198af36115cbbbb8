#!/bin/sh
# Fails unless the built library carries its build information and the revision in it is the one
# that was checked out when it was built: build_stamp.sh LIBRARY SOURCES
set -eu

texts=$(strings -a "$1")
only() { # what, pattern
    found=$(echo "$texts" | grep -xE "$2" || true)
    if [ "$(echo "$found" | grep -c .)" -ne 1 ]; then
        echo "the library holds not exactly one $1: $found" >&2
        exit 1
    fi
    echo "$found"
}
date=$(only 'time of the build' '[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} UTC')
revision=$(only revision '[0-9a-f]{40}')
version=$(only version '[0-9]+\.[0-9]+\.[0-9]+-[0-9]+-g[0-9a-f]{7}')
echo "$date, $revision, $version"

cd "$2"
if ! path=$(git rev-parse --show-prefix 2>/dev/null) || [ -n "$path" ]; then
    echo 'the sources have no repository'
    [ "$revision" = 0000000000000000000000000000000000000000 ]
    exit
fi
# There may have been commits since the build: the log of HEAD knows what it was at that second, or
# at its beginning.
seconds=$(date -u -d "$date" +%s)
for second in "$seconds" "$((seconds - 1))"; do
    if [ "$(git rev-parse "HEAD@{$second}" 2>/dev/null)" = "$revision" ]; then
        echo 'the revision of the build'
        exit 0
    fi
done
if [ "$(git rev-parse HEAD)" = "$revision" ]; then
    echo 'the revision that is checked out'
    exit 0
fi
echo "HEAD was not $revision at $date" >&2
exit 1
