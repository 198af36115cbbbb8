#!/bin/sh
# Prints which lines and branches of the files under test each fuzz target's inputs reach: those of
# fuzz/corpus, and those that earlier runs left in build/fuzz/corpus. See docs/fuzzing.md.
set -eu
cd "$(dirname "$0")/.."
build=build/coverage

cmake --preset coverage -DPINPAD_BUILD_TESTS=ON >/dev/null
cmake --build --preset coverage -j "$(nproc)" --target fuzz/all >/dev/null

report() { # target, files under test
    target=$1
    shift
    find "$build" -name '*.gcda' -delete
    learned=build/fuzz/corpus/$target
    [ -d "$learned" ] || learned=''
    # shellcheck disable=SC2086 # there may be no such folder
    inputs=$("$build/bin/fuzz_$target" "fuzz/corpus/$target" $learned)
    echo
    echo "$target: $inputs"
    filters=$(printf -- '--filter %s\n' "$@")
    # shellcheck disable=SC2086 # a list of options
    gcovr --root . --object-directory "$build" --exclude-throw-branches $filters \
        --csv "$build/fuzz.csv"
    awk -F, 'NR > 1 {
        printf "  %-28s lines %3d of %3d  branches %3d of %3d\n", $1, $3, $2, $6, $5
    }' "$build/fuzz.csv"
}

report builder_and_device abecs/cmd_builder.cpp abecs/response_parser.cpp sim/abecs_frame.cpp \
    sim/packet.cpp
report encrypted_answer abecs/secure_channel.cpp
report extension_receive ext/ext_link.cpp abecs/line.cpp
report field_readers abecs/field.cpp
report link_receive abecs/link.cpp abecs/line.cpp
report mifare_answer ext/mifare.cpp ext/ext_command.cpp
report response_parser abecs/response_parser.cpp abecs/param_map.cpp abecs/rsp_stat.cpp
report scenario sim/scenario.cpp sim/scenario_line.cpp sim/text.cpp
report secure_open_answer abecs/secure_channel.cpp
report web_message sim/web/message.cpp
