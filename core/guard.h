#pragma once

#include "core/exception.h"

#include <new>
#include <type_traits>
#include <utility>

/// Runs the body inside a frame of its own and gives back the failure it raised, if any. The frame
/// is closed exactly once on every path, also when a host's own exception passes through.
template <typename Body>
[[nodiscard]] PclException pcl_attempt(Body &&body) {
    struct Frame {
        Frame() { pcl_exception_try(); }
        ~Frame() { pcl_exception_end_try(); }
        Frame(const Frame &) = delete;
        Frame &operator=(const Frame &) = delete;
    };

    PclException failure;
    Frame frame;
    try {
        std::forward<Body>(body)();
    } catch (const PclException &raised) {
        failure = raised;
    } catch (const std::bad_alloc &) {
        failure = {PCL_RESULT_MALLOC_ERROR, "[PCL_RESULT_MALLOC_ERROR] "};
    }
    if (failure) {
        // What was released on the way may have opened frames, which clears the record.
        *pcl_exception_message_buffer() = failure;
    }
    return failure;
}

/// Raises a caught failure again, unchanged, if there was one; whether there was, should the host's
/// handler return.
inline bool pcl_raise_again(const PclException &failure) {
    pcl_exception_rethrow(failure.code, failure.message);
    return static_cast<bool>(failure);
}

/// Runs a body of several steps so that none of them runs after one that failed: with a frame open
/// a failure passes through, and the body is run as it is; with none open it gets a frame, and its
/// failure is raised again, unchanged, once everything that the body owned is released. The
/// fallback is the result should the host's handler return.
template <typename Result, typename Body>
Result pcl_guarded(Result fallback, Body &&body) {
    if (pcl_exception_frame() != nullptr) {
        return std::forward<Body>(body)();
    }
    Result result = fallback;
    const PclException failure = pcl_attempt([&] { result = std::forward<Body>(body)(); });
    return pcl_raise_again(failure) ? fallback : result;
}

template <typename Body>
void pcl_guarded(Body &&body) {
    static_assert(std::is_void_v<std::invoke_result_t<Body &>>,
                  "a body that yields a value needs a fallback");
    if (pcl_exception_frame() != nullptr) {
        std::forward<Body>(body)();
        return;
    }
    pcl_raise_again(pcl_attempt(std::forward<Body>(body)));
}
