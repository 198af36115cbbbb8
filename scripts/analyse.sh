#!/bin/sh
# Static analysis beside clang-tidy: cppcheck over library, virtual PIN pad and tools, and the
# analyser of g++ over the library. Any finding fails, save those of scripts/analyser-reviewed.txt.
# usage: analyse.sh BUILD-FOLDER, below this project, of a build with g++ that is complete
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD-FOLDER}
library='core serial abecs ext api'
jobs=$(nproc)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

filters=''
for folder in $library sim cli; do
    filters="$filters --file-filter=$folder/*"
done
# shellcheck disable=SC2086 # a list of options
cppcheck --project="$build/compile_commands.json" $filters --std=c++20 --inline-suppr --quiet \
    --enable=warning,performance,portability --error-exitcode=1 -j "$jobs" \
    --template='{file}:{line}: {severity}: {message} [{id}]'
echo "cppcheck has nothing to say of: $library sim cli"

# One line each: the file that was compiled, and what the analyser says there.
# shellcheck disable=SC2086 # a list of folders
python3 scripts/run-analyser.py "$build/compile_commands.json" "$PWD" "$jobs" $library \
    >"$work/findings"
sort -u "$work/findings" >"$work/sorted"
sed -e '/^#/d' -e '/^$/d' -e 's/:.*//' scripts/analyser-reviewed.txt | sort -u >"$work/reviewed"
new=$(comm -23 "$work/sorted" "$work/reviewed")
if [ -n "$new" ]; then
    echo "New findings of g++ -fanalyzer; compile the file with -fanalyzer to read them:" >&2
    echo "$new" >&2
    exit 1
fi
gone=$(comm -13 "$work/sorted" "$work/reviewed")
[ -z "$gone" ] || echo "No longer found, scripts/analyser-reviewed.txt may forget: $gone"
echo "g++ -fanalyzer has nothing new to say of: $library"
