#include "core/buffer.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/map.h"
#include "core/memory.h"
#include "tests/core/child.h"
#include "tests/core/elements.h"
#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

// What raiseUncaught() prints by default.
const std::string UNCAUGHT = "Uncaught error: 2 ([PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL)\n";

void expectAbort(const ChildResult &child, const std::string &output) {
    EXPECT_TRUE(child.signalled);
    EXPECT_EQ(child.signal, SIGABRT);
    EXPECT_EQ(child.output, output);
}

/// Installs any handler for a scope.
class Installed {
public:
    explicit Installed(PclUncaughtHandler handler) { pcl_exception_set_uncaught_handler(handler); }
    ~Installed() { pcl_exception_set_uncaught_handler(nullptr); }
    Installed(const Installed &) = delete;
    Installed &operator=(const Installed &) = delete;
};

void PCL_CALL throwing(std::int32_t, const char *message) {
    throw std::runtime_error(message);
}

std::jmp_buf jumpBack;

void PCL_CALL jumping(std::int32_t code, const char *) {
    std::longjmp(jumpBack, code);
}

void PCL_CALL leavingTheThread(std::int32_t, const char *) {
    pthread_exit(&jumpBack);
}

void sayAborting(int) {
    const char text[] = "aborting\n";
    static_cast<void>(!write(STDOUT_FILENO, text, sizeof text - 1));
}

void raiseUncaught() {
    pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%s is NULL", "'pinpad'");
}

// Fails after having allocated, so that something would be left behind.
void failInTheMiddle() {
    const FailingAllocation second(2);
    pcl_buffer_create(16);
}

void *failOnAThread(void *) {
    failInTheMiddle();
    return nullptr;
}

} // namespace

TEST(UncaughtByDefault, PrintsToAPipeAndAborts) {
    expectAbort(runInChild(raiseUncaught), UNCAUGHT);
}

TEST(UncaughtByDefault, PrintsToAFileAndAborts) {
    expectAbort(runInChild(raiseUncaught, ChildOutput::File), UNCAUGHT);
}

TEST(UncaughtByDefault, PrintsOnlyTheCodeWithoutAMessage) {
    expectAbort(runInChild([] { pcl_exception_rethrow(PCL_RESULT_CRYPT_ERROR, nullptr); }),
                "Uncaught error: 13\n");
}

TEST(UncaughtByDefault, TheCodeIsSignExtended) {
    expectAbort(runInChild([] { pcl_exception_rethrow(static_cast<PclResult_e>(-2), "low"); }),
                "Uncaught error: -2 (low)\n");
}

TEST(UncaughtByDefault, IsRestoredByANullHandler) {
    expectAbort(runInChild([] {
                    pcl_exception_set_uncaught_handler(&throwing);
                    pcl_exception_set_uncaught_handler(nullptr);
                    raiseUncaught();
                }),
                UNCAUGHT);
}

TEST(UncaughtByDefault, AFailureReleasedOnItsWayStillArrivesWhole) {
    expectAbort(runInChild(failInTheMiddle), "Uncaught error: 5 ([PCL_RESULT_MALLOC_ERROR] )\n");
}

TEST(UncaughtByDefault, AHandlerOfTheSignalRunsOnceAndMayReturn) {
    expectAbort(runInChild([] {
                    std::signal(SIGABRT, &sayAborting);
                    raiseUncaught();
                }),
                UNCAUGHT + "aborting\n");
}

TEST(UncaughtByDefault, AHandlerOfTheSignalRunsOnAThreadThatBlocksIt) {
    expectAbort(runInChild([] {
                    std::signal(SIGABRT, &sayAborting);
                    sigset_t all;
                    sigfillset(&all);
                    pthread_sigmask(SIG_SETMASK, &all, nullptr);
                    raiseUncaught();
                }),
                UNCAUGHT + "aborting\n");
}

TEST(UncaughtByDefault, EndsAProcessThatIgnoresTheSignal) {
    expectAbort(runInChild([] {
                    std::signal(SIGABRT, SIG_IGN);
                    raiseUncaught();
                }),
                UNCAUGHT);
}

TEST(FatalAllocation, IsReportedWhenNoFrameCanBeMade) {
    expectAbort(runInChild([] {
                    const FailingAllocation first(1);
                    for (int depth = 0; depth < 1000; ++depth) {
                        pcl_exception_try();
                    }
                }),
                "FATAL: MEMORY ALLOCATION ERROR\n");
}

TEST(UncaughtHandler, IsCalledWithCodeAndMessage) {
    const ScopedHandler handler;
    raiseUncaught();
    EXPECT_EQ(handler.count(), 1U);
    EXPECT_EQ(handler.code(), 2);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL");
}

TEST(UncaughtHandler, MayReturn) {
    const ChildResult child = runInChild([] {
        const ScopedHandler handler;
        raiseUncaught();
        std::printf("carried on");
    });
    EXPECT_TRUE(child.exited);
    EXPECT_EQ(child.exitCode, 0);
    EXPECT_EQ(child.output, "carried on");
}

TEST(UncaughtHandler, MaySeeANullMessage) {
    const ScopedHandler handler;
    pcl_exception_rethrow(PCL_RESULT_IO_ERROR, nullptr);
    ASSERT_EQ(handler.count(), 1U);
    EXPECT_TRUE(handler.all()[0].messageWasNull);
}

TEST(UncaughtHandler, IsNotCalledForWhatAFrameCatches) {
    const ScopedHandler handler;
    EXPECT_TRUE(pcl_attempt(raiseUncaught));
    EXPECT_EQ(handler.count(), 0U);
}

TEST(UncaughtHandler, IsCalledWithNoFrameOpen) {
    static const PclExceptionFrame *seen;
    const Installed handler([](std::int32_t, const char *) { seen = pcl_exception_frame(); });
    pcl_exception_try();
    seen = pcl_exception_frame();
    ASSERT_NE(seen, nullptr);
    pcl_exception_end_try();
    failInTheMiddle();
    EXPECT_EQ(seen, nullptr);
}

TEST(UncaughtHandler, MayThrowAnExceptionOfItsOwn) {
    const Installed handler(&throwing);
    try {
        failInTheMiddle();
        ADD_FAILURE() << "the handler's exception did not arrive";
    } catch (const std::runtime_error &error) {
        EXPECT_STREQ(error.what(), "[PCL_RESULT_MALLOC_ERROR] ");
    }
    EXPECT_EQ(pcl_exception_frame(), nullptr);
}

TEST(UncaughtHandler, MayJump) {
    const Installed handler(&jumping);
    // Static, so that the jump does not lose its value.
    static int came;
    came = setjmp(jumpBack);
    if (came == 0) {
        pcl_buffer_read_byte(nullptr);
        ADD_FAILURE() << "the handler did not jump";
    }
    EXPECT_EQ(came, PCL_RESULT_ILLEGAL_ARGUMENT);
    EXPECT_EQ(pcl_exception_frame(), nullptr);
    EXPECT_FAILURE(pcl_raise(PCL_RESULT_IO_ERROR, "after"), PCL_RESULT_IO_ERROR, "after");
}

TEST(UncaughtHandler, MayJumpOutOfAGuardedOperation) {
    const Installed handler(&jumping);
    static int came;
    elements::counters = {};
    PclMap *map = pcl_map_create(4, &elements::hash, &elements::equals, &elements::copy,
                                 &elements::copy, &elements::release, &elements::release);
    const int key = 1;
    elements::counters.failingCopy = 2;
    came = setjmp(jumpBack);
    if (came == 0) {
        pcl_map_put(map, &key, &key);
        ADD_FAILURE() << "the handler did not jump";
    }
    EXPECT_EQ(came, PCL_RESULT_RUNTIME_ERROR);
    EXPECT_EQ(pcl_exception_frame(), nullptr);
    EXPECT_EQ(elements::counters.live(), 0);
    pcl_map_destroy(&map);
}

TEST(UncaughtHandler, MayEndTheThread) {
    const Installed handler(&leavingTheThread);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, &failOnAThread, nullptr), 0);
    void *result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, static_cast<void *>(&jumpBack));
}

TEST(UncaughtHandler, IsOneForTheProcess) {
    const ScopedHandler handler;
    std::thread([] { raiseUncaught(); }).join();
    EXPECT_EQ(handler.count(), 1U);
}
