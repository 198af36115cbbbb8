#pragma once

#include "core/guard.h"

#include <cstdio>
#include <cstdlib>

// What must hold whatever arrives; a fuzzer stops where it does not.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);    \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace fuzz {

inline constexpr char NUL = '\0';

/// Whether there was no failure, or one that a device may cause: it tells of the line, of silence
/// or of an answer that is not allowed, and has a text.
inline bool isAllowed(const PclException &failure) {
    return !failure ||
           ((failure.code == PCL_RESULT_IO_ERROR || failure.code == PCL_RESULT_PROTOCOL_ERROR ||
             failure.code == PCL_RESULT_TIMEOUT_ERROR) &&
            failure.message[0] == '[');
}

} // namespace fuzz
