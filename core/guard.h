#pragma once

#include "core/exception.h"

#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

/// A caught failure, copied out of the thread's record. Tests true when there was one.
struct PclFailure {
    PclResult_e code = PCL_RESULT_OK;
    char message[PCL_EXCEPTION_MESSAGE_SIZE] = {};

    explicit operator bool() const { return code != PCL_RESULT_OK; }
};

/// Runs the body inside a frame of its own and gives back the failure it raised, if any. The frame
/// is closed exactly once on every path, also when a host's own exception passes through.
template <typename Body>
[[nodiscard]] PclFailure pcl_attempt(Body &&body) {
    struct Frame {
        Frame() { pcl_exception_try(); }
        ~Frame() { pcl_exception_end_try(); }
        Frame(const Frame &) = delete;
        Frame &operator=(const Frame &) = delete;
    };

    PclFailure failure;
    Frame frame;
    try {
        std::forward<Body>(body)();
    } catch (const PclUnwind &unwind) {
        failure.code = unwind.failure.code;
        std::memcpy(failure.message, unwind.failure.message, sizeof failure.message);
    } catch (const std::bad_alloc &) {
        failure.code = PCL_RESULT_MALLOC_ERROR;
        std::strcpy(failure.message, "[PCL_RESULT_MALLOC_ERROR] ");
    }
    if (failure) {
        // What was released on the way may have opened frames, which clears the record.
        PclException *record = pcl_exception_message_buffer();
        record->code = failure.code;
        std::memcpy(record->message, failure.message, sizeof failure.message);
    }
    return failure;
}

/// Raises a caught failure again, unchanged, if there was one; whether there was, should the host's
/// handler return.
inline bool pcl_raise_again(const PclFailure &failure) {
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
    const PclFailure failure = pcl_attempt([&] { result = std::forward<Body>(body)(); });
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
