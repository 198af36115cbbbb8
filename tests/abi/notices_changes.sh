#!/bin/sh
# Shows that check_header.sh notices what breaks hosts. usage: notices_changes.sh CC HEADER RECORD
set -eu
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

refused() { # what, sed script
    sed "$2" "$HEADER" >"$work/pinpad.h"
    if cmp -s "$HEADER" "$work/pinpad.h"; then
        echo "$1: the header has no such place" >&2
        exit 1
    fi
    if "$here/check_header.sh" "$CC" "$work/pinpad.h" "$RECORD" >/dev/null 2>&1; then
        echo "$1: not noticed" >&2
        exit 1
    fi
}

CC=$1
HEADER=$2
RECORD=$3
refused 'a wider argument' 's/uint16_t promptId/uint32_t promptId/'
refused 'another result' 's/int32_t PINPAD_CALL PP_Open/int64_t PINPAD_CALL PP_Open/'
refused 'another constant' 's/\(#define PINPAD_FAILED\) .*/\1 (-4)/'
refused 'a function less' '/PP_Abort(void)/d'
