// Every system call of every command fails in turn: what is raised names the operation and the
// system's number, an interruption or a short transfer shows nowhere, and the next command works on
// the same session.

#include "abecs/open.h"
#include "core/time.h"
#include "serial/time_divisor.h"
#include "tests/robustness/rig.h"
#include "tests/robustness/system_calls.h"
#include "tests/soak/commands.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

using calls::Call;
using calls::FailingCall;
using calls::Mode;

constexpr std::int32_t NOT_RUN = -99;
constexpr std::size_t MANY = 10000;

// Writes are one byte each, and the middle of a frame is as good as any other place in it. With the
// environment variable every one of them fails.
constexpr std::size_t WRITE_STRIDE = 6;

constexpr std::chrono::milliseconds FRAME_GAP{50};

// The device still answers a command whose call has failed on this side, and a frame that broke off
// is over for it only after a while.
unsigned looksAfter(Call struck) {
    return struck == Call::WRITE ? static_cast<unsigned>(FRAME_GAP.count()) * 3 / 2 : 25;
}

std::ptrdiff_t openFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

struct Outcome {
    PclException failure;
    std::int32_t result = NOT_RUN;
    Call struck = Call::NONE;
    std::size_t count = 0;
};

Outcome runWithFailing(std::size_t failing, Mode mode, int error, const faults::Command &command,
                       AbecsPinpad *pinpad) {
    if (command.prepare != nullptr) {
        EXPECT_NO_FAILURE(command.prepare(pinpad));
    }
    Outcome outcome;
    const FailingCall plan(failing, mode, error);
    outcome.failure = pcl_attempt([&] { outcome.result = command.run(pinpad); });
    outcome.struck = plan.struck();
    outcome.count = plan.count();
    return outcome;
}

/// What a call that fails may come to; nothing where its failure does not matter.
std::set<std::string> documented(Call call, int error) {
    const std::string number = "() error: " + std::to_string(error);
    const auto text = [&](const char *operation) {
        return failures::text(PCL_RESULT_IO_ERROR, operation + number);
    };
    switch (call) {
    case Call::READ:
        return {text("ReadFile")};
    case Call::WRITE:
        return {text("WriteFile")};
    case Call::POLL:
        return {text("ReadFile"), text("WriteFile")};
    case Call::FLUSH:
        // Late input is dropped as far as that goes; a drain has to succeed.
        return {"", text("PurgeComm")};
    case Call::DRAIN:
        return {""};
    default:
        return {};
    }
}

class FailingSystemCall : public testing::TestWithParam<std::size_t> {
protected:
    static const faults::Command &command() { return soak::commands().at(GetParam()); }

    void failEach(Mode mode, const std::vector<int> &errors, bool isHarmless) {
        robustness::Rig rig(false, FRAME_GAP);
        const std::size_t stride = std::getenv("PINPAD_EVERY_CALL") == nullptr ? WRITE_STRIDE : 1;
        std::size_t failing = 1;
        std::size_t struck = 0;
        for (; failing < MANY; failing += step(stride)) {
            const int error = errors[struck % errors.size()];
            SCOPED_TRACE(testing::Message() << "call " << failing << ", error " << error);
            const Outcome outcome = runWithFailing(failing, mode, error, command(), rig.pinpad());
            m_last = outcome.struck;
            if (outcome.count < failing) {
                break;
            }
            ++struck;
            if (isHarmless) {
                EXPECT_STREQ("", outcome.failure.message);
                EXPECT_EQ(command().good, outcome.result);
            } else {
                EXPECT_EQ(1U, documented(outcome.struck, error).count(outcome.failure.message))
                    << outcome.failure.message;
            }
            if (!isHarmless) {
                rig.awaitSilence(looksAfter(outcome.struck));
            }
            rig.expectUsable(command(), outcome.failure);
        }
        EXPECT_LT(failing, MANY);
        EXPECT_GT(struck, 0U);
    }

private:
    std::size_t step(std::size_t stride) const { return m_last == Call::WRITE ? stride : 1; }

    Call m_last = Call::NONE;
};

TEST_P(FailingSystemCall, WithAnError) {
    failEach(Mode::ERROR, {EIO, ENOSPC}, false);
}

TEST_P(FailingSystemCall, ByAnInterruption) {
    failEach(Mode::ERROR, {EINTR}, true);
}

TEST_P(FailingSystemCall, ByAShortTransfer) {
    failEach(Mode::SHORT, {0}, true);
}

INSTANTIATE_TEST_SUITE_P(Commands, FailingSystemCall,
                         testing::Range<std::size_t>(0, soak::commands().size()),
                         robustness::commandName);

// What creating a session may come to when one call fails; the port is named as it was given.
std::set<std::string> documentedOfCreation(Call call, const std::string &port, int error) {
    const std::string number = "() error: " + std::to_string(error);
    switch (call) {
    case Call::OPEN:
        // A port without a usable handle, on which the first operation fails.
        return {
            failures::text(PCL_RESULT_IO_ERROR,
                           "SetCommTimeouts() error: " + std::to_string(EBADF)),
            failures::text(PCL_RESULT_IO_ERROR, "GetCommState() error: " + std::to_string(EBADF))};
    case Call::GET_LINE:
        return {failures::text(PCL_RESULT_IO_ERROR, "Invalid serial port: " + port),
                failures::text(PCL_RESULT_IO_ERROR, "GetCommState" + number)};
    case Call::SET_LINE:
        return {"", failures::text(PCL_RESULT_IO_ERROR, "SetCommTimeouts" + number),
                failures::text(PCL_RESULT_IO_ERROR, "SetCommState" + number)};
    case Call::CLOSE:
        return {""};
    default:
        return documented(call, error);
    }
}

TEST(FailingSystemCallOfASession, ByAnInterruptionShowsNowhere) {
    const sim::Simulator device;
    std::size_t failing = 1;
    std::set<Call> seen;
    pcl_serial_set_time_divisor(robustness::Rig::TIME_DIVISOR);
    for (; failing < MANY; ++failing) {
        SCOPED_TRACE(testing::Message() << "call " << failing);
        const FailingCall plan(failing, Mode::ERROR, EINTR);
        EXPECT_NO_FAILURE(const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str())));
        if (plan.count() < failing) {
            break;
        }
        seen.insert(plan.struck());
    }
    pcl_serial_set_time_divisor(1);
    EXPECT_LT(failing, MANY);
    EXPECT_GE(seen.size(), 8U);
}

// Reading the settings of the line goes through isatty in the C library, too, but only the calls of
// the library itself are counted here.
TEST(FailingSystemCallOfASession, LeavesNoPortOpen) {
    // Where nothing fails, a busy machine may take its time.
    constexpr std::uint32_t CALM_DIVISOR = 4;
    const sim::Simulator device;
    const std::string port = device.port();
    const auto before = openFiles();
    std::size_t failing = 1;
    std::set<Call> seen;
    for (; failing < MANY; ++failing) {
        SCOPED_TRACE(testing::Message() << "call " << failing);
        Outcome outcome;
        pcl_serial_set_time_divisor(robustness::Rig::TIME_DIVISOR);
        {
            const FailingCall plan(failing, Mode::ERROR, EIO);
            outcome.failure = pcl_attempt(
                [&] { const AbecsPinpadPtr pinpad(abecs_pinpad_create(port.c_str())); });
            outcome.struck = plan.struck();
            outcome.count = plan.count();
        }
        pcl_serial_set_time_divisor(CALM_DIVISOR);
        EXPECT_NO_FAILURE(const AbecsPinpadPtr again(abecs_pinpad_create(port.c_str())));
        if (outcome.count < failing) {
            EXPECT_STREQ("", outcome.failure.message);
            break;
        }
        seen.insert(outcome.struck);
        EXPECT_EQ(1U,
                  documentedOfCreation(outcome.struck, port, EIO).count(outcome.failure.message))
            << static_cast<int>(outcome.struck) << ' ' << outcome.failure.message;
    }
    EXPECT_LT(failing, MANY);
    EXPECT_GE(seen.size(), 7U);
    EXPECT_EQ(before, openFiles());
    pcl_serial_set_time_divisor(1);
}

} // namespace
