#!/bin/sh
# Runs the demonstration and the tests as a newcomer does: in a bare Debian root of their own with
# nothing but git, in a clone of what is committed here. As root; nothing is left behind. Needs what
# scripts/install-dependencies.sh fresh installs.
set -eu
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ]; then
    echo "$0: only root can make a root of its own" >&2
    exit 1
fi
if [ -n "$(git status --porcelain)" ]; then
    echo 'Changes that are not committed are not tried.' >&2
fi
. scripts/clean-root.sh
make_clean_root
inside_quietly apt-get install -y -q --no-install-recommends ca-certificates git
git clone -q . "$root/pinpad"

echo '== ./run-demo.sh in a bare root'
inside /pinpad/run-demo.sh
echo '== ./run-tests.sh in a bare root'
inside /pinpad/run-tests.sh
