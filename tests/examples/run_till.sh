#!/bin/sh
# Runs the till of one language through a good day and two bad ones:
#   run_till.sh LANGUAGE SIMULATOR LIBRARY SOURCES WORK [PROGRAM]
# PROGRAM is the built till for c and cpp, and the interpreter for python. Ends with 77 when the
# language's runtime is missing, or with 1 when PINPAD_REQUIRE_LANGUAGES is set; NODE_PATH tells
# where koffi is installed.
set -eu

language=$1
simulator=$2
library=$3
sources=$4
work=$5
program=${6:-}
here=$(dirname "$0")
jna=/usr/share/java/jna.jar

skip() {
    if [ -n "${PINPAD_REQUIRE_LANGUAGES:-}" ]; then
        echo "$language: $* is missing" >&2
        exit 1
    fi
    echo "Not run: the till in $language: $* is missing; ./run-tests.sh --languages"
    exit 77
}

require() {
    for needed in "$@"; do
        command -v "$needed" >/dev/null 2>&1 || skip "$needed"
    done
}

mkdir -p "$work"
case "$language" in
    c | cpp) set -- "$program" ;;
    python) set -- "$program" "$sources/till.py" "$library" ;;
    csharp)
        require mcs mono
        mcs -warnaserror -out:"$work/Till.exe" "$sources/Till.cs"
        set -- env LD_LIBRARY_PATH="$(dirname "$library")" mono "$work/Till.exe"
        ;;
    java)
        require javac java
        [ -e "$jna" ] || skip JNA
        javac -Xlint:all,-serial -Werror -cp "$jna" -d "$work" "$sources/Till.java"
        set -- java -cp "$jna:$work" Till "$library"
        ;;
    node)
        require node
        node -e 'require("koffi")' 2>/dev/null || skip koffi
        set -- node "$sources/till.js" "$library"
        ;;
    *)
        echo "no till in $language" >&2
        exit 2
        ;;
esac

fail() {
    echo "$*" >&2
    exit 1
}

expect_status() { # status expected, status found
    [ "$1" -eq "$2" ] || fail "exit status $2 in place of $1"
}

echo '== a good customer'
status=0
"$here/run_host.sh" "$simulator" "$sources/till.scn" "$work/good.log" "$@" PORT || status=$?
expect_status 0 "$status"
cat >"$work/good.expected" <<'EOF'
the PIN pad says: PLEASE GO ON
loyalty number: 12345678
QR code: 0
survey: 7
closed
EOF
diff -u "$work/good.expected" "$work/good.log"

echo '== a cable that is pulled'
status=0
"$here/run_host.sh" "$simulator" "$sources/till_unplugged.scn" "$work/unplugged.log" \
    "$@" PORT || status=$?
expect_status 1 "$status"
grep -qx 'loyalty number: 12345678' "$work/unplugged.log"
grep -q '^failure 6: \[PCL_RESULT_IO_ERROR\] ReadFile() error: ' "$work/unplugged.log" ||
    fail 'the failure was not told'
! grep -qE '^(QR code|survey|closed)' "$work/unplugged.log" || fail 'went on after the failure'

echo '== a port that is not there'
status=0
"$@" "$work/no-such-port" >"$work/missing.log" 2>&1 || status=$?
cat "$work/missing.log"
expect_status 1 "$status"
grep -qF "failure 8: [PCL_RESULT_FILE_NOT_FOUND] No such port: $work/no-such-port" \
    "$work/missing.log" || fail 'the failure was not told'
