#!/bin/sh
# Runs clang-tidy with the checks of .clang-tidy over the sources of a build folder that lie in the
# named folders of the repository: run-clang-tidy.sh BUILD-FOLDER FOLDER... Any finding fails.
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD-FOLDER FOLDER...}
shift
for folder in "$@"; do
    git ls-files --cached --others --exclude-standard "$folder/*.cpp"
done | while IFS= read -r file; do
    # Other platforms' files are not built here.
    ! grep -q "/$file\"" "$build/compile_commands.json" || echo "$file"
done | xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet 2>/dev/null
echo "clang-tidy has nothing to say of: $*"
