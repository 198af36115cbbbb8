#!/bin/sh
# Wine for 32-bit Windows programs in a root of its own, build/wine32/root: nothing of the other
# architecture is installed on the machine.
#
#   scripts/wine32.sh fetch             gets Debian's packages and unpacks them, once
#   scripts/wine32.sh PROGRAM ARG...    runs a program of that root; it sees the build folder under
#                                       its own name, and the pseudo terminals
#
# Needs root, or a system that lets everybody make name spaces.
set -eu
cd "$(dirname "$0")/.."
build=$PWD/build
root=$build/wine32/root

fetch() {
    apt=$build/wine32/apt
    rm -rf "$root" "$apt"
    mkdir -p "$root" "$apt/sources.list.d" "$apt/state" "$apt/lists/partial" \
        "$apt/cache/archives/partial"
    : >"$apt/sources.list"
    : >"$apt/status"
    [ ! -f /etc/apt/sources.list ] || cp /etc/apt/sources.list "$apt"
    for file in /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
        [ ! -f "$file" ] || cp "$file" "$apt/sources.list.d"
    done
    set -- -q -o "Dir::Etc::sourcelist=$apt/sources.list" \
        -o "Dir::Etc::sourceparts=$apt/sources.list.d" -o "Dir::State=$apt/state" \
        -o "Dir::State::lists=$apt/lists" -o "Dir::State::status=$apt/status" \
        -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User= -o APT::Install-Recommends=false \
        -o APT::Architecture=i386 -o APT::Architectures::=i386
    # A source that has nothing for this architecture is no failure yet.
    apt-get "$@" update || true
    apt-get "$@" -y -d install wine32
    for package in "$apt"/cache/archives/*.deb; do
        dpkg-deb -x "$package" "$root"
    done
    rm -rf "$apt"
    mkdir -p "$root/proc" "$root/dev/pts" "$root/tmp" "$root$build"
    for device in null zero urandom; do
        : >"$root/dev/$device"
    done
    : >"$build/wine32/complete"
}

if [ "${1:-}" = fetch ]; then
    [ -f "$build/wine32/complete" ] || fetch
    exit 0
fi

user=''
[ "$(id -u)" -eq 0 ] || user=--map-root-user
# shellcheck disable=SC2016,SC2086 # the inner shell expands them; one option or none
exec unshare --mount $user sh -euc '
    root=$1
    build=$2
    shift 2
    mount --rbind /proc "$root/proc"
    mount --bind /dev/pts "$root/dev/pts"
    for device in null zero urandom; do
        mount --bind "/dev/$device" "$root/dev/$device"
    done
    mount --bind "$build" "$root$build"
    exec chroot "$root" "$@"' sh "$root" "$build" "$@"
