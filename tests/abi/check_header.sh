#!/bin/sh
# Compares what the public header declares with what is recorded: every function with its types,
# every constant with its value. usage: check_header.sh CC HEADER RECORD
set -eu
cc=$1
header=$2
record=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

{
    # Declarations, one a line, without names of the arguments' files and without comments.
    "$cc" -E -P -x c "$header" | tr '\n' ' ' | sed 's/;/;\n/g' \
        | sed 's/__attribute__ *((visibility *("default")))//g; s/extern "C" *{//' \
        | sed 's/[[:space:]]\{1,\}/ /g; s/^ //; s/ \([,);]\)/\1/g' \
        | grep -E '(PP_|abecs|tavisk|pcl_|[Pp]inpad)' | LC_ALL=C sort
    # Constants, as the compiler sees them.
    "$cc" -E -dM -x c "$header" | grep -E '^#define PINPAD_[A-Z_]+ [^ ]' | grep -v PINPAD_API \
        | grep -v PINPAD_CALL | LC_ALL=C sort
} >"$work/declared"

if [ ! -s "$work/declared" ]; then
    echo "$header declares nothing." >&2
    exit 1
fi
if ! diff "$record" "$work/declared"; then
    echo 'The public header has changed. If no built host can notice, record it anew; else raise' >&2
    echo 'PINPAD_ABI_VERSION in CMakeLists.txt, tell it in CHANGELOG.md, and record it anew:' >&2
    echo "  $0 $cc $header /dev/null | sed -n 's/^> //p' >$record" >&2
    exit 1
fi
echo "$(wc -l <"$record") declarations, as recorded"
