#pragma once

#include "core/guard.h"

#include <cstdint>
#include <utility>

/// What a poll returns when no answer came in time.
inline constexpr std::int32_t ABECS_POLL_NO_ANSWER = -1;

/// Runs the body of a poll: a timeout becomes ABECS_POLL_NO_ANSWER, every other failure is raised
/// again once the body has released what it held.
template <typename Body>
std::int32_t abecs_poll(Body &&body) {
    std::int32_t result = ABECS_POLL_NO_ANSWER;
    const PclException failure = pcl_attempt([&] { result = std::forward<Body>(body)(); });
    if (failure.code != PCL_RESULT_TIMEOUT_ERROR) {
        pcl_raise_again(failure);
    }
    return result;
}
