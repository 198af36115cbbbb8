#!/bin/sh
# Runs clang-tidy with the checks of .clang-tidy over every source file of a build folder's
# compile_commands.json that is in the repository. Any finding fails.
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD-FOLDER}
git ls-files --cached --others --exclude-standard '*.cpp' ':!tests' ':!fuzz' ':!bench' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet --warnings-as-errors='*' 2>/dev/null
echo 'clang-tidy has nothing to say.'
