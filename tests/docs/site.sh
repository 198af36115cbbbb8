#!/bin/sh
# Builds the documentation site into a folder; exit status 77 where there is nothing to build it with.
# usage: site.sh FOLDER
set -eu
command -v doxygen >/dev/null || {
    echo 'Not run: the documentation site: doxygen is missing; ./run-tests.sh --docs'
    exit 77
}
exec "$(dirname "$0")/../../scripts/build-docs.sh" "$1"
