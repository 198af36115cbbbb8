#!/bin/sh
# Installs the Debian packages that a job needs and that are missing.
#
#   scripts/install-dependencies.sh build      to build the library and the virtual PIN pad
#   scripts/install-dependencies.sh test       to run the tests of the release build as well
#   scripts/install-dependencies.sh full       to run everything that run-tests.sh --full does
#   scripts/install-dependencies.sh analyse    to analyse the sources as well
#   scripts/install-dependencies.sh coverage   to measure what the tests reach as well
#   scripts/install-dependencies.sh bench      to run the benchmarks beside their neighbours
#   scripts/install-dependencies.sh windows    to build the Windows DLLs and run them under Wine
#   scripts/install-dependencies.sh languages  to run the tills in every language
#   scripts/install-dependencies.sh docs       to build the documentation
#   scripts/install-dependencies.sh packages   to build the Debian packages and try them
#   scripts/install-dependencies.sh web        to drive the page of the virtual PIN pad in a browser
#   scripts/install-dependencies.sh fresh      to try demonstration and tests in a bare root
#
# Needs root, or sudo, only when something is missing.
set -eu

build_packages='binutils cmake g++ libboost-dev libcli11-dev libedit-dev libqrencode-dev libssl-dev
    libtomcrypt-dev libtommath-dev ninja-build nlohmann-json3-dev pkg-config'
test_packages='git libbenchmark-dev libgmock-dev libgtest-dev libzxing-dev make python3'
full_packages='clang clang-format clang-tidy libclang-rt-14-dev'
bench_packages='libbenchmark-dev libmodbus-dev python3 strace'
windows_packages='dpkg-dev g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix wine wine64'
languages_packages='default-jdk-headless libjna-java mono-mcs mono-runtime nodejs'
docs_packages='doxygen python3'
packages_packages='debhelper debootstrap fakeroot git lintian'
web_packages='chromium nodejs'

case "${1:-}" in
    build) packages=$build_packages ;;
    test) packages="$build_packages $test_packages" ;;
    full) packages="$build_packages $test_packages $full_packages" ;;
    analyse) packages="$build_packages $test_packages $full_packages cppcheck" ;;
    fresh) packages='debootstrap git' ;;
    coverage) packages="$build_packages $test_packages gcovr" ;;
    bench) packages="$build_packages $bench_packages" ;;
    windows) packages="$build_packages $windows_packages" ;;
    languages)
        packages="$build_packages $test_packages $languages_packages"
        # Some builds of Node bring npm along, and refuse Debian's.
        command -v npm >/dev/null 2>&1 || packages="$packages npm"
        ;;
    docs) packages="$build_packages $docs_packages" ;;
    packages) packages="$build_packages $packages_packages" ;;
    web)
        packages="$build_packages $test_packages $web_packages"
        command -v npm >/dev/null 2>&1 || packages="$packages npm"
        ;;
    *)
        echo "usage: $0 build|test|full|analyse|coverage|bench|windows|languages|docs|packages|web|fresh" >&2
        exit 2
        ;;
esac

missing=''
for package in $packages; do
    status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [ "$status" = 'install ok installed' ] || missing="$missing $package"
done
if [ -z "$missing" ]; then
    echo '== All packages needed are installed'
    exit 0
fi

echo "== Installing:$missing"
as_root=''
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "Packages are missing and need root to install. As root, run:" >&2
        echo "  apt-get update && apt-get install -y$missing" >&2
        exit 1
    fi
    as_root=sudo
fi
$as_root env DEBIAN_FRONTEND=noninteractive apt-get update -q
# shellcheck disable=SC2086 # a list of package names
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing
