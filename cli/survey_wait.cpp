#include "cli/survey_wait.h"

#include "abecs/packet.h"

#include <array>

namespace cli {

namespace {

// Holds the longest answer that a PIN pad can send.
using AnswerText = std::array<char, ABECS_PACKET_CAPACITY + 1>;

void stop(Device &device, const SurveyCalls &calls) {
    std::int32_t result = 0;
    callLibrary(Stage::Command, [&] { result = calls.stop(device.session()); });
    if (result != 0) {
        throw LibraryFailure{PCL_RESULT_TIMEOUT_ERROR,
                             std::string("No answer to the end of ") + calls.command + " in time",
                             Stage::Command};
    }
}

// For a wait that ended early: that reason is reported, not a failure to stop the survey.
void stopQuietly(Device &device, const SurveyCalls &calls) {
    static_cast<void>(pcl_attempt([&] { calls.stop(device.session()); }));
}

} // namespace

std::string waitForSurvey(Device &device, const SurveyCalls &calls,
                          std::optional<std::chrono::milliseconds> stopAfter) {
    AnswerText answer{};
    bool answered = false;
    try {
        answered = device.waitForAnswer(
            [&](AbecsPinpad *pinpad) { return calls.get(pinpad, answer.data()); }, stopAfter);
    } catch (const Interrupted &) {
        stopQuietly(device, calls);
        throw;
    } catch (const CustomerTimeout &) {
        stopQuietly(device, calls);
        throw;
    }
    if (!answered) {
        stop(device, calls);
        throw SurveyStopped{};
    }
    return answer.data();
}

} // namespace cli
