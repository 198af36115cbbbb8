#!/bin/sh
# Builds the Debian packages of the revision that is checked out into build/packages, checks them
# with lintian and, as root, tries them in a root of their own: installed, run, a program built with
# them, and removed without a trace. See `scripts/install-dependencies.sh packages`.
set -eu
cd "$(dirname "$0")/.."

usage() {
    echo "usage: $0 [--no-trial]"
    echo
    echo "  --no-trial   builds and checks the packages, and does not install them anywhere"
}

trial=yes
case "${1:-}" in
    '') ;;
    --no-trial) trial=no ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
esac

packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages"
if [ -n "$(git status --porcelain)" ]; then
    echo 'Changes that are not committed are not in the packages.' >&2
fi
git clone -q . "$packages/source"

echo '== Packages'
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
(cd "$packages/source" && dpkg-buildpackage -b -us -uc) >"$packages/build.log" 2>&1 || {
    grep -v '^\[[0-9]*/[0-9]*\] ' "$packages/build.log" | tail -n 60
    exit 1
}
ls "$packages"/*.deb

echo '== lintian'
# The project has no mail address to give, and no bug in a tracker that asks for packages.
without=bogus-mail-host,bogus-mail-host-in-debian-changelog,initial-upload-closes-no-bugs
lintian --allow-root --fail-on error,warning --tag-display-limit 0 --suppress-tags "$without" \
    "$packages"/*.changes

[ "$trial" = yes ] || exit 0
if [ "$(id -u)" -ne 0 ]; then
    echo 'Not root: the packages were not tried in a clean root.'
    exit 0
fi

echo '== A clean root'
. scripts/clean-root.sh
make_clean_root

files() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./dev -o -path ./tmp \
        -o -path ./var/cache -o -path ./var/lib/apt -o -path ./var/lib/dpkg -o -path ./var/log \) \
        -prune -o -print | sort)
}
inside_quietly apt-get install -y -q --no-install-recommends gcc libc6-dev
inside ldconfig
files >"$packages/before"

echo '== Installed'
cp "$packages"/*.deb "$root/tmp"
inside_quietly sh -c 'apt-get install -y -q --no-install-recommends /tmp/libpinpad1_*.deb \
    /tmp/libpinpad-dev_*.deb /tmp/pinpad-tools_*.deb'
inside pinpad --simulate capture
inside pinpad-sim --version
# The first program of a new user: the one of the README.
sed -n '/^#include <pinpad\/pinpad.h>/,/^```/p' README.md | sed '$d' >"$root/tmp/till.c"
inside cc -Wall -Wextra -Werror -o /tmp/till /tmp/till.c -lpinpad
status=0
inside /tmp/till >"$packages/till" 2>&1 || status=$?
cat "$packages/till"
if [ "$status" -ne 1 ] || ! grep -q 'No such port: ttyUSB0' "$packages/till"; then
    echo "The program ended with status $status." >&2
    exit 1
fi

echo '== Removed'
inside_quietly apt-get purge -y -q --autoremove libpinpad1 libpinpad-dev pinpad-tools
inside ldconfig
files >"$packages/after"
diff "$packages/before" "$packages/after"
echo 'without a trace'
