#!/bin/sh
# Installs what is missing (Debian), builds and runs every test; see usage() below.
set -eu
cd "$(dirname "$0")"

usage() {
    cat <<EOF
usage: $0 [--full | --fresh | --lint | --analyse | --windows | --languages | --docs | --web |
       --packages | --fuzz | --coverage | --help]

Without an option: the release build with g++, every test, and the page of the virtual PIN pad in a
browser. What cannot be run here is listed at the end, with what it takes.

  --full      all that, and formatting; the build with clang and the address, undefined-behaviour
              and leak sanitizers and its tests; each fuzzer for some seconds; the tests of threads
              under the thread sanitizer; clang-tidy without its static analyser over the library
  --fresh     ./run-demo.sh and ./run-tests.sh, of what is committed, in a bare Debian root of their
              own; as root
  --lint      formatting, clang-tidy over library, virtual PIN pad and tools, names everywhere
  --analyse   clang-tidy over the library; cppcheck, and the analyser of g++
  --windows   builds the Windows DLLs with mingw-w64 and drives both under Wine
  --languages builds, and runs the tills of examples/till in every language
  --docs      builds the documentation; a warning is an error
  --fuzz      runs every fuzzer for a minute
  --packages  builds the Debian packages, tries them in a clean root, and checks that a build can be
              reproduced
  --web       drives the page of the virtual PIN pad in a browser
  --coverage  builds with coverage, runs the tests and prints the lines and branches reached
EOF
}

library='core serial abecs ext api'
jobs=$(nproc)
# Most tests wait for the line, not for the processor: let the waits overlap.
parallel_tests=$((jobs * 4))
started=$(date +%s)
not_run=build/not-run.txt

step() {
    echo
    echo "== $* ($(($(date +%s) - started)) s)"
}

build() { # preset, more arguments of the build
    preset=$1
    shift
    cmake --preset "$preset" -DPINPAD_BUILD_TESTS=ON -DPINPAD_UNITY=ON >/dev/null
    cmake --build --preset "$preset" -j "$jobs" "$@"
}

# Tells clang-tidy and others how each file is compiled by itself.
describe() {
    cmake --preset release -B build/lint -DPINPAD_BUILD_TESTS=ON -DPINPAD_UNITY=OFF >/dev/null
}

run_tests() { # preset, more arguments of ctest
    preset=$1
    shift
    ctest --test-dir "build/$preset" --parallel "$parallel_tests" --output-on-failure \
        --no-tests=error --output-junit ctest.xml "$@" >"build/$preset/ctest.log" 2>&1 || {
        grep -vE ' Passed |^ +Start ' "build/$preset/ctest.log" | tail -n 400
        echo "The tests of build/$preset failed." >&2
        exit 1
    }
    grep -E 'tests passed|Total Test time' "build/$preset/ctest.log"
    scripts/list-skipped.py "build/$preset/ctest.xml" >>"$not_run"
}

install_browser() {
    scripts/install-dependencies.sh web &&
        npm ci --prefix tests/web/browser --no-audit --no-fund --fetch-retries 1 \
            --fetch-timeout 20000
}

test_page() {
    if ! (install_browser) >build/browser.log 2>&1; then
        tail -n 2 build/browser.log
        echo 'the page in a browser: it cannot be installed here (build/browser.log);' \
            './run-tests.sh --web' >>"$not_run"
        return
    fi
    run_tests release --tests-regex '^web.browser$'
}

case "${1:-}" in
    '') mode=tests ;;
    --full) mode=full ;;
    --fresh) mode=fresh ;;
    --lint) mode=lint ;;
    --analyse) mode=analyse ;;
    --coverage) mode=coverage ;;
    --windows) mode=windows ;;
    --languages) mode=languages ;;
    --docs) mode=docs ;;
    --web) mode=web ;;
    --packages) mode=packages ;;
    --fuzz) mode=fuzz ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        echo "$0: unknown option $1" >&2
        usage >&2
        exit 2
        ;;
esac

step 'Packages'
case "$mode" in
    tests) scripts/install-dependencies.sh test ;;
    lint | fuzz) scripts/install-dependencies.sh full ;;
    *) scripts/install-dependencies.sh "$mode" ;;
esac

if [ "$mode" = fresh ]; then
    scripts/try-fresh.sh
    step 'All done'
    exit 0
fi

if [ "$mode" = windows ]; then
    step 'Virtual PIN pad'
    cmake --preset release >/dev/null
    cmake --build --preset release -j "$jobs" --target pinpad-sim
    step 'Windows DLLs'
    scripts/test-windows.sh
    step 'All done'
    exit 0
fi

if [ "$mode" = languages ]; then
    step 'Release build (g++)'
    build release --target pinpad pinpad-sim till_c till_cpp
    step 'Tills in every language'
    scripts/test-languages.sh build/release
    step 'All done'
    exit 0
fi

if [ "$mode" = packages ]; then
    step 'Debian packages'
    scripts/build-packages.sh
    step 'Two builds of one revision'
    scripts/check-reproducible.sh
    step 'All done'
    exit 0
fi

if [ "$mode" = fuzz ]; then
    step 'Fuzzers'
    scripts/fuzz.sh 60
    step 'All done'
    exit 0
fi

if [ "$mode" = web ]; then
    step 'Release build (g++)'
    build release --target pinpad-sim pinpad_cli key_latency test_web
    step 'Server'
    build/release/bin/test_web --gtest_brief=1
    step 'Page in the browser'
    npm ci --prefix tests/web/browser --no-audit --no-fund
    PINPAD_JUDGE_TIMES=1 tests/web/browser/run.sh build/release/bin/pinpad-sim build/release/bin/pinpad \
        build/release/bin/key_latency
    step 'All done'
    exit 0
fi

if [ "$mode" = docs ]; then
    step 'Documentation'
    scripts/build-docs.sh build/docs
    step 'All done'
    exit 0
fi

if [ "$mode" = coverage ]; then
    step 'Coverage build'
    build coverage
    find build/coverage -name '*.gcda' -delete
    step 'Tests'
    run_tests coverage
    scripts/coverage.sh build/coverage
    exit 0
fi

if [ "$mode" = full ] || [ "$mode" = lint ]; then
    step 'Formatting'
    scripts/check-format.sh
fi

if [ "$mode" = lint ]; then
    step 'clang-tidy'
    describe
    # shellcheck disable=SC2086 # a list of folders
    scripts/run-clang-tidy.sh build/lint $library sim cli tests bench fuzz
    exit 0
fi

if [ "$mode" = analyse ]; then
    step 'clang-tidy'
    describe
    # shellcheck disable=SC2086 # a list of folders
    scripts/run-clang-tidy.sh build/lint $library
    step 'cppcheck and g++ -fanalyzer'
    scripts/analyse.sh build/lint
    step 'All done'
    exit 0
fi

step 'Release build (g++)'
build release
step 'Tests of the release build'
: >"$not_run"
run_tests release --exclude-regex '^web.browser$'
step 'Page in the browser'
test_page

if [ "$mode" = full ]; then
    step 'Build with clang, address, undefined-behaviour and leak sanitizers'
    build asan
    step 'Tests under these sanitizers'
    run_tests asan
    step 'Fuzzers, some seconds each'
    scripts/fuzz.sh --build build/asan 4
    step 'Build with the thread sanitizer'
    build tsan --target thread_tests
    step 'Tests of threads under the thread sanitizer'
    run_tests tsan --label-regex threads
    step 'clang-tidy'
    describe
    # shellcheck disable=SC2086 # a list of folders
    scripts/run-clang-tidy.sh --quick build/lint $library
fi

if [ -s "$not_run" ]; then
    step 'Not run here'
    sort -u "$not_run"
fi

step 'All done'
