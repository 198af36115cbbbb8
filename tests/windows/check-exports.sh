#!/bin/sh
# Compares the names that a DLL exports with the expected ones, and the number of its ordinals with
# theirs; nothing but the system's own DLLs may be imported.
# usage: check-exports.sh OBJDUMP DLL EXPECTED
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" -p "$2" >"$work/dump"
sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^[[:space:]]*\[ *[0-9]*\] \(+base\[ *[0-9]*\] *\)\{0,1\}\([0-9a-f]\{4\} \)\{0,1\}\([A-Za-z_].*\)$/\3/p' \
    "$work/dump" | sort >"$work/names"
sort "$3" >"$work/expected"
diff "$work/expected" "$work/names"

ordinals=$(sed -n '/^Number in:/,/^Table Addresses/s/.*Export Address Table[[:space:]]*//p' "$work/dump")
[ "$((0x$ordinals))" -eq "$(wc -l <"$work/expected")" ] || {
    echo "The DLL has $((0x$ordinals)) ordinals." >&2
    exit 1
}

others=$(sed -n 's/.*DLL Name: //p' "$work/dump" | grep -viE '^(kernel32|advapi32|msvcrt)\.dll$' || true)
[ -z "$others" ] || {
    echo "The DLL needs $others." >&2
    exit 1
}
