// PP_Abort from a second thread while the first one waits.

#include "tests/api/exports_fixture.h"

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

} // namespace
