#!/bin/sh
# The include graph keeps its rules, and the check of it notices what breaks them.
#
#   includes.sh SOURCE_FOLDER
set -eu
source=$1
check=$source/scripts/check-includes.py

"$check" "$source"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

expect_refused() { # what is said of the tree in $work
    if said=$("$check" "$work"); then
        echo "not noticed: $1" >&2
        exit 1
    fi
    if [ "$said" != "$1" ]; then
        echo "expected: $1" >&2
        echo "said:     $said" >&2
        exit 1
    fi
    rm -rf "${work:?}"/*
}

file() { # name, what it includes
    mkdir -p "$work/$(dirname "$1")"
    printf '#include "%s"\n' "$2" >>"$work/$1"
}

file core/buffer.cpp core/buffer.h
file core/buffer.cpp serial/serial.h
expect_refused 'core/buffer.cpp includes serial/serial.h, which is not below it'

file abecs/link.h ext/link.h
expect_refused 'abecs/link.h includes ext/link.h, which is not below it'

file abecs/link.h abecs/commands/clo.h
expect_refused 'abecs/link.h includes abecs/commands/clo.h, which is not below it'

file api/exports.cpp core/guard.h
file sim/web/hub.cpp core/guard.h
expect_refused 'sim/web/hub.cpp includes core/guard.h, which is not below it'

file abecs/a.h abecs/b.h
file abecs/b.cpp abecs/c.h
file abecs/c.cpp abecs/a.h
expect_refused 'a circle of includes: abecs/a, abecs/b, abecs/c'

file core/exception.cpp core/string.h
file core/string.cpp core/exception.h
file core/string.h core/list.h
file core/list.cpp core/exception.h
expect_refused 'a circle of includes: core/exception, core/list, core/string'

expect_refused "$work: no sources found"
