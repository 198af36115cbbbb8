// PP_Abort from a second thread while the first one waits.

#include "tests/api/exports_fixture.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

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

// A line that has nothing to do with a PIN pad, on which somebody talks all the time or never.
class ForeignLine : public Exports {
protected:
    void SetUp() override {
        Exports::SetUp();
        m_far = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(m_far, 0);
        ASSERT_EQ(0, grantpt(m_far));
        ASSERT_EQ(0, unlockpt(m_far));
        m_port = ptsname(m_far);
        // Raw from the start, so that nothing is echoed.
        m_near = ::open(m_port.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios line{};
        ASSERT_EQ(0, tcgetattr(m_near, &line));
        cfmakeraw(&line);
        ASSERT_EQ(0, tcsetattr(m_near, TCSANOW, &line));
    }
    void TearDown() override {
        fallSilent();
        ::close(m_near);
        ::close(m_far);
        Exports::TearDown();
    }

    void talk() {
        m_talking = true;
        m_talker = std::thread([this] {
            while (m_talking) {
                static_cast<void>(!::write(m_far, "$GPGGA,", 7));
                std::this_thread::sleep_for(1ms);
            }
        });
    }
    void fallSilent() {
        m_talking = false;
        if (m_talker.joinable()) {
            m_talker.join();
        }
    }

    // An abort after so long ends the opening, and raises nothing itself.
    void expectEndedByAnAbort(std::chrono::milliseconds after) {
        auto aborted = std::chrono::steady_clock::now();
        std::thread canceller([&] {
            std::this_thread::sleep_for(after);
            aborted = std::chrono::steady_clock::now();
            library.abort();
        });
        EXPECT_EQ(PINPAD_FAILED, library.open(m_port.c_str(), 0));
        const auto ended = std::chrono::steady_clock::now();
        canceller.join();
        EXPECT_GT(ended, aborted);
        EXPECT_LT(ended - aborted, 1s);
        expectFailure(PINPAD_ERROR_ILLEGAL_STATE, "[PCL_RESULT_ILLEGAL_STATE] Open was aborted");
    }

    std::string m_port;

private:
    int m_far = -1;
    int m_near = -1;
    std::atomic<bool> m_talking{false};
    std::thread m_talker;
};

TEST_F(ForeignLine, AnAbortEndsTheOpeningOfOneThatNeverFallsSilent) {
    talk();
    const std::size_t before = openDescriptors();
    expectEndedByAnAbort(1500ms);
    EXPECT_EQ(before, openDescriptors());
    expectEndedByAnAbort(100ms);
    library.abort();
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] pinpad is NULL");
}

TEST_F(ForeignLine, AnAbortEndsTheWaitForTheAnswerToTheReset) {
    expectEndedByAnAbort(800ms);
}

TEST_F(ForeignLine, AnAbortOfItsOpeningLeavesTheEarlierSession) {
    plugIn();
    open(1);
    device->clear_logs();
    talk();
    expectEndedByAnAbort(200ms);
    EXPECT_TRUE(device->host_bytes().empty());
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    expectNoFailure();
}

TEST_F(Exports, TheHandlerMayBeSetFromAnotherThread) {
    std::atomic<bool> over{false};
    raised = 0;
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
