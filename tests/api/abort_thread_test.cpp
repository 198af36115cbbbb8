// PP_Abort from a second thread while the first one waits.

#include "tests/api/exports_fixture.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace {

using namespace std::chrono_literals;

std::mutex recorded;
int raised = 0;

void PINPAD_CALL count(std::int32_t, const char *) {
    const std::lock_guard guard(recorded);
    ++raised;
}

void PINPAD_CALL countToo(std::int32_t code, const char *message) {
    count(code, message);
}

TEST_F(Exports, AnAbortFromAnotherThreadEndsAWait) {
    plugIn();
    open(1);
    library.setHandler(count);
    library.getClearData(1, 1, 8, 0);
    std::thread canceller([&] {
        std::this_thread::sleep_for(300ms);
        library.abort();
    });
    const auto start = std::chrono::steady_clock::now();
    const std::int32_t result = library.getClearDataResponse(digits.data(), nullptr);
    canceller.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    // Either thread may have read the device's EOT: then the poll failed, or found no answer.
    EXPECT_TRUE(result == PINPAD_FAILED || result == PINPAD_NO_ANSWER) << result;
    EXPECT_TRUE(device->wait_for([](const sim::Snapshot &state) { return !state.waiting; }, 2s));

    library.abort();
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    library.setHandler(nullptr);
}

// Each round the abort falls at another moment of the start and the poll.
TEST_F(Exports, AnAbortMayComeAtAnyMoment) {
    plugIn();
    open(1);
    library.setHandler(count);
    for (int round = 0; round < 12; ++round) {
        std::thread canceller([&] {
            std::this_thread::sleep_for(round * 500us);
            library.abort();
        });
        library.getClearData(1, 1, 8, 0);
        const std::int32_t result = library.getClearDataResponse(digits.data(), nullptr);
        canceller.join();
        EXPECT_TRUE(result == PINPAD_FAILED || result == PINPAD_NO_ANSWER) << result;
        library.abort();
    }
    library.setHandler(record);
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    expectNoFailure();
}

// The session stays until the last abort that uses it is over.
TEST_F(Exports, AbortsThatOverlapACloseDoNoHarm) {
    plugIn();
    library.setHandler(count);
    for (int round = 0; round < 4; ++round) {
        library.open(port().c_str(), 0);
        std::atomic<bool> over{false};
        std::thread canceller([&] {
            while (!over) {
                library.abort();
            }
        });
        std::this_thread::sleep_for(round * 300us);
        library.close("BYE");
        over = true;
        canceller.join();
        library.abort();
        library.close("BYE");
    }
    library.setHandler(record);
    expectWholeSession(1);
}

TEST_F(Exports, TheHandlerMayBeSetFromAnotherThread) {
    std::atomic<bool> over{false};
    library.setHandler(count);
    std::thread setter([&] {
        while (!over) {
            library.setHandler(countToo);
            library.setHandler(count);
        }
    });
    constexpr int CALLS = 2000;
    for (int call = 0; call < CALLS; ++call) {
        library.abort();
    }
    over = true;
    setter.join();
    const std::lock_guard guard(recorded);
    EXPECT_EQ(CALLS, raised);
}

} // namespace
