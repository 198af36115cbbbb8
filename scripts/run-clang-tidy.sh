#!/bin/sh
# Runs clang-tidy with the checks of .clang-tidy over the sources of a build folder that lie in the
# named folders of the repository. Any finding fails.
# usage: run-clang-tidy.sh [--quick] BUILD-FOLDER FOLDER..., --quick without the static analyser
set -eu
cd "$(dirname "$0")/.."
checks=''
if [ "${1:-}" = --quick ]; then
    checks='-clang-analyzer-*'
    shift
fi
build=${1:?usage: $0 [--quick] BUILD-FOLDER FOLDER...}
shift
for folder in "$@"; do
    git ls-files --cached --others --exclude-standard "$folder/*.cpp"
done | while IFS= read -r file; do
    # Other platforms' files are not built here.
    ! grep -q "/$file\"" "$build/compile_commands.json" || echo "$file"
done | xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet --checks="$checks" 2>/dev/null
echo "clang-tidy has nothing to say of: $*"
