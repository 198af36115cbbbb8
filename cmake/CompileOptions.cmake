# The compile and link options that every target of the project shares.
add_library(pinpad_options INTERFACE)

target_compile_options(pinpad_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${PINPAD_WERROR}>:-Werror>)

# Where the sources lie must not show in what is built from them.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(pinpad_options INTERFACE
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
endif()

# _FORTIFY_SOURCE needs optimisation, and the sanitizers replace what it checks.
if(WIN32)
    # Hosts compiled by others may call with a stack that is aligned to 4 bytes only.
    target_compile_options(pinpad_options INTERFACE
        $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},i686>:-mstackrealign>)
    target_link_options(pinpad_options INTERFACE -Wl,--nxcompat,--dynamicbase)
elseif("${PINPAD_SANITIZE}" STREQUAL "")
    target_compile_options(pinpad_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        target_compile_options(pinpad_options INTERFACE -fcf-protection)
    endif()
    target_link_options(pinpad_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
else()
    target_compile_options(pinpad_options INTERFACE
        -fsanitize=${PINPAD_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(pinpad_options INTERFACE -fsanitize=${PINPAD_SANITIZE})
endif()

# The fuzzer sees which branches are taken in everything but itself.
if(PINPAD_FUZZ)
    target_compile_options(pinpad_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(PINPAD_COVERAGE)
    target_compile_options(pinpad_options INTERFACE --coverage -fprofile-update=atomic -O0)
    target_link_options(pinpad_options INTERFACE --coverage)
endif()
