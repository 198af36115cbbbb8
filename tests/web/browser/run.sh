#!/bin/sh
# Drives the page of the virtual PIN pad in Debian's chromium; exit status 77 where that cannot be.
# usage: run.sh PINPAD-SIM PINPAD KEY-LATENCY [FOLDER-FOR-SCREENSHOTS]
set -eu
here=$(cd "$(dirname "$0")" && pwd)

skip() {
    echo "Not run: the page in a browser: $1; ./run-tests.sh --web"
    exit 77
}

chromium=$(command -v chromium) || skip 'chromium is not installed'
command -v node >/dev/null || skip 'Node is not installed'
[ -d "$here/node_modules/playwright-core" ] || skip 'playwright-core is not installed'
# Some machines have it and cannot run it: no shared memory, a system that forbids its processes.
sandbox=''
[ "$(id -u)" -ne 0 ] || sandbox=--no-sandbox
timeout 60 "$chromium" --headless $sandbox --disable-gpu --dump-dom about:blank >/dev/null 2>&1 ||
    skip 'chromium does not start here'

CHROMIUM=$chromium exec node "$here/page_test.mjs" "$@"
