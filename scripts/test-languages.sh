#!/bin/sh
# Runs the till of every language in examples/till; a missing runtime is an error here.
# usage: test-languages.sh BUILD_FOLDER
set -eu
build=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."

node=$build/languages/node
mkdir -p "$node"
cp examples/till/package.json examples/till/package-lock.json "$node"
# koffi brings its compiled part along; no script of a package needs to run.
npm ci --prefix "$node" --ignore-scripts --no-audit --no-fund --loglevel=error

NODE_PATH=$node/node_modules PINPAD_REQUIRE_LANGUAGES=1 ctest --test-dir "$build" \
    --label-regex languages --parallel 4 --output-on-failure --no-tests=error
