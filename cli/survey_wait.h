#pragma once

#include "cli/device.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace cli {

/// The library's functions of one kind of survey.
struct SurveyCalls {
    const char *command; ///< its identifier
    std::int32_t (*get)(AbecsPinpad *, char *answer);
    std::int32_t (*stop)(AbecsPinpad *);
};

/// Waits for the answer to a survey that has been started. A wait that ends without one, by Ctrl-C
/// or because a time is over, ends the survey on the PIN pad, too. Throws SurveyStopped when the
/// time `stopAfter` has passed, and what Device::waitForAnswer() throws.
std::string waitForSurvey(Device &device, const SurveyCalls &calls,
                          std::optional<std::chrono::milliseconds> stopAfter);

} // namespace cli
