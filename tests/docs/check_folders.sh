#!/bin/sh
# README.md names every folder at the top: check_folders.sh ROOT
# Ends with 77 where there is no repository to tell which these are.
set -eu
cd "$1"
folders=$(git ls-files 2>/dev/null | sed -n 's,/.*,,p' | sort -u)
[ -n "$folders" ] || {
    echo 'Not run: the folders that README.md names: this is no clone of the repository'
    exit 77
}
missing=0
for folder in $folders; do
    if ! grep -qF "\`$folder/\`" README.md; then
        echo "README.md does not name $folder/" >&2
        missing=1
    fi
done
[ "$missing" -eq 0 ]
