#!/bin/sh
# Installs a build into a folder of its own, builds a program of another project with what was
# installed, and runs it against the virtual PIN pad.
# usage: run_consumer.sh KIND BUILD SOURCE SIMULATOR, KIND one of find_package, pkg-config,
# add_subdirectory, dlopen, layout
set -eu
kind=$1
build=$2
source=$3
simulator=$4
consumer=$source/tests/install/consumer
version=$(sed -n 's/^project(pinpad VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")

work=$(mktemp -d)
device=''
clean_up() {
    [ -z "$device" ] || kill "$device" 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 1' INT TERM
prefix=$work/prefix

[ "$kind" = add_subdirectory ] || cmake --install "$build" --prefix "$prefix" >"$work/install.log"
# A tree that is moved must work in its new place.
[ "$kind" = add_subdirectory ] || { mv "$prefix" "$work/moved" && prefix=$work/moved; }
library_dir=$(dirname "$(find "$work/moved" -name libpinpad.so 2>/dev/null | head -n 1)")

start_device() {
    "$simulator" --quiet --link "$work/port" >/dev/null &
    device=$!
    tries=0
    while [ ! -e "$work/port" ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 200 ] || { echo 'The virtual PIN pad did not start.' >&2; exit 1; }
        sleep 0.05
    done
}

run() {
    start_device
    LD_LIBRARY_PATH=$library_dir "$@"
    echo "$kind: opened and closed"
}

case "$kind" in
    find_package)
        cmake -S "$consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" \
            -DWANTED_VERSION="$version" >"$work/log"
        cmake --build "$work/build" >"$work/log"
        # A version that is not there must not be found.
        if cmake -S "$consumer" -B "$work/other" -DCMAKE_PREFIX_PATH="$prefix" \
            -DWANTED_VERSION=99 >"$work/log" 2>&1; then
            echo 'Version 99 was found.' >&2
            exit 1
        fi
        run "$work/build/consumer" "$work/port"
        ;;
    pkg-config)
        PKG_CONFIG_PATH=$library_dir/pkgconfig
        export PKG_CONFIG_PATH
        pkg-config --exact-version="$version" pinpad
        # shellcheck disable=SC2046 # a list of options
        cc -Wall -Wextra -Werror -o "$work/consumer" "$consumer/main.c" \
            $(pkg-config --cflags --libs pinpad)
        run "$work/consumer" "$work/port"
        ;;
    add_subdirectory)
        cmake -S "$consumer" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
            -DPINPAD_SOURCE_DIR="$source" >"$work/log"
        cmake --build "$work/build" >"$work/log" 2>&1 || { tail -n 40 "$work/log"; exit 1; }
        run "$work/build/consumer" "$work/port"
        ;;
    dlopen)
        cc -Wall -Wextra -Werror -o "$work/loaded" "$consumer/loaded.c" -ldl
        run "$work/loaded" libpinpad.so.1 "$work/port"
        ;;
    layout)
        (cd "$prefix" && find . ! -type d | sed 's,lib/[^/]*-linux-[^/]*/,lib/,' | LC_ALL=C sort) \
            >"$work/files"
        grep -v '/examples/' "$work/files" | diff "$source/tests/install/layout.txt" -
        grep -q '/examples/demo.c$' "$work/files"
        [ "$(readlink "$library_dir/libpinpad.so")" = libpinpad.so.1 ]
        readlink "$library_dir/libpinpad.so.1" | grep -qx "libpinpad\.so\.1\.$version"
        "$prefix/bin/pinpad" --version
        "$prefix/bin/pinpad-sim" --version
        if command -v man >/dev/null; then
            LC_ALL=C.UTF-8 man --warnings --local-file "$prefix/share/man/man1/pinpad-sim.1" \
                >/dev/null 2>"$work/man"
            [ ! -s "$work/man" ] || { cat "$work/man"; exit 1; }
        fi
        ;;
    *)
        echo "unknown kind $kind" >&2
        exit 2
        ;;
esac
