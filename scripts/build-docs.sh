#!/bin/sh
# Builds the documentation site; a warning of Doxygen is an error.
# usage: build-docs.sh FOLDER        the site is FOLDER/html/index.html
set -eu
mkdir -p "$1"
out=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."

rm -rf "$out/html"
{
    cat docs/Doxyfile
    echo "OUTPUT_DIRECTORY = \"$out\""
} | doxygen -
tests/docs/check_site.py "$out/html" tests/api/exports.txt .
echo "The documentation is in $1/html/index.html"
