#!/bin/sh
# Fails when a source file is not formatted as .clang-format says.
set -eu
cd "$(dirname "$0")/.."
git ls-files --cached --others --exclude-standard '*.h' '*.cpp' '*.c' |
    while IFS= read -r file; do [ ! -e "$file" ] || printf '%s\0' "$file"; done |
    xargs -0 clang-format --dry-run --Werror
echo 'All source files are formatted.'
