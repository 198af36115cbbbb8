#include "core/exception.h"

#include "core/guard.h"
#include "core/string.h"
#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <string>
#include <thread>

namespace {

/// Opens a frame the bare way, runs the body and leaves the frame open, as it is when the catching
/// code gets to look at the record. True when something was raised.
template <typename Body>
bool raisesInOpenFrame(Body body) {
    pcl_exception_try();
    try {
        body();
    } catch (const PclException &) {
        return true;
    }
    return false;
}

/// Fails at every depth, the innermost first; how many failures arrived where they belong.
int attemptNested(int depth) {
    int caught = 0;
    const PclException failure = pcl_attempt([&] {
        if (depth > 1) {
            caught = attemptNested(depth - 1);
        }
        pcl_raise(PCL_RESULT_IO_ERROR, "depth %d", depth);
    });
    const std::string expected =
        failures::text(PCL_RESULT_IO_ERROR, "depth " + std::to_string(depth));
    return caught + (expected == failure.message ? 1 : 0);
}

std::size_t bytesInUse() {
    return mallinfo2().uordblks;
}

} // namespace

TEST(Exception, TryClearsTheRecord) {
    ASSERT_TRUE(raisesInOpenFrame([] { pcl_exception_throw(PCL_RESULT_IO_ERROR, "gone"); }));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_IO_ERROR);
    EXPECT_STREQ(pcl_exception_message(), "gone");
    pcl_exception_end_try();

    pcl_exception_try();
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_OK);
    EXPECT_STREQ(pcl_exception_message(), "");
    pcl_exception_end_try();
}

TEST(Exception, TheThrowLeavesTheFrameToTheCatcher) {
    EXPECT_EQ(pcl_exception_frame(), nullptr);
    ASSERT_TRUE(raisesInOpenFrame([] { pcl_exception_throw(PCL_RESULT_IO_ERROR, "x"); }));
    EXPECT_NE(pcl_exception_frame(), nullptr);
    pcl_exception_end_try();
    EXPECT_EQ(pcl_exception_frame(), nullptr);
}

TEST(Exception, EndTryWithoutAFrameDoesNothing) {
    ASSERT_EQ(pcl_exception_frame(), nullptr);
    pcl_exception_end_try();
    EXPECT_EQ(pcl_exception_frame(), nullptr);
}

TEST(Exception, ThrowFormatsAndRaisePrefixesTheName) {
    ASSERT_TRUE(raisesInOpenFrame(
        [] { pcl_exception_throw(PCL_RESULT_TIMEOUT_ERROR, "%s after %d", "late", 7); }));
    EXPECT_STREQ(pcl_exception_message(), "late after 7");
    pcl_exception_end_try();

    ASSERT_TRUE(
        raisesInOpenFrame([] { pcl_raise(PCL_RESULT_TIMEOUT_ERROR, "%s after %d", "late", 7); }));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_TIMEOUT_ERROR);
    EXPECT_STREQ(pcl_exception_message(), "[PCL_RESULT_TIMEOUT_ERROR] late after 7");
    pcl_exception_end_try();
}

TEST(Exception, CodeZeroIsNoFailure) {
    ASSERT_TRUE(raisesInOpenFrame([] { pcl_exception_throw(PCL_RESULT_IO_ERROR, "kept"); }));
    const PclExceptionFrame *frame = pcl_exception_frame();

    EXPECT_NO_THROW(pcl_exception_throw(PCL_RESULT_OK, "%s", "other"));
    EXPECT_NO_THROW(pcl_exception_rethrow(PCL_RESULT_OK, "other"));
    EXPECT_NO_THROW(pcl_raise(PCL_RESULT_OK, "%s", "other"));

    EXPECT_EQ(pcl_exception_frame(), frame);
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_IO_ERROR);
    EXPECT_STREQ(pcl_exception_message(), "kept");
    pcl_exception_end_try();
}

TEST(Exception, CodeZeroDoesNotReachTheHandler) {
    const ScopedHandler handler;
    pcl_exception_throw(PCL_RESULT_OK, "%s", "other");
    pcl_raise(PCL_RESULT_OK, "%s", "other");
    EXPECT_EQ(handler.count(), 0U);
}

TEST(Exception, RethrowNeitherFormatsNorPrefixes) {
    ASSERT_TRUE(
        raisesInOpenFrame([] { pcl_exception_rethrow(PCL_RESULT_DEVICE_BUSY, "100%s [as is]"); }));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_DEVICE_BUSY);
    EXPECT_STREQ(pcl_exception_message(), "100%s [as is]");
    pcl_exception_end_try();
}

TEST(Exception, RethrowOfNullLeavesAnEmptyMessage) {
    ASSERT_TRUE(raisesInOpenFrame([] { pcl_exception_throw(PCL_RESULT_IO_ERROR, "before"); }));
    pcl_exception_end_try();
    ASSERT_TRUE(raisesInOpenFrame([] { pcl_exception_rethrow(PCL_RESULT_DEVICE_BUSY, nullptr); }));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_DEVICE_BUSY);
    EXPECT_STREQ(pcl_exception_message(), "");
    pcl_exception_end_try();
}

TEST(Exception, RethrowOfTheRecordsOwnMessageKeepsIt) {
    const bool outer = raisesInOpenFrame([] {
        const bool inner =
            raisesInOpenFrame([] { pcl_raise(PCL_RESULT_CRYPT_ERROR, "%s", "inner"); });
        ASSERT_TRUE(inner);
        pcl_exception_end_try();
        pcl_exception_rethrow(pcl_exception_code(), pcl_exception_message());
    });
    EXPECT_TRUE(outer);
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_CRYPT_ERROR);
    EXPECT_STREQ(pcl_exception_message(), "[PCL_RESULT_CRYPT_ERROR] inner");
    pcl_exception_end_try();
}

TEST(Exception, ARaiseMayQuoteTheRecord) {
    const PclException failure = pcl_attempt([] {
        pcl_snprintf(pcl_exception_message_buffer()->message, PCL_EXCEPTION_MESSAGE_SIZE, "%s",
                     "the cause");
        pcl_raise(PCL_RESULT_IO_ERROR, "because of %s", pcl_exception_message());
    });
    EXPECT_STREQ(failure.message, "[PCL_RESULT_IO_ERROR] because of the cause");
}

TEST(Exception, TheMessageBufferIsTheRecord) {
    ASSERT_TRUE(raisesInOpenFrame([] { pcl_exception_throw(PCL_RESULT_IO_ERROR, "seen"); }));
    const PclException *record = pcl_exception_message_buffer();
    EXPECT_EQ(record->code, PCL_RESULT_IO_ERROR);
    EXPECT_EQ(static_cast<const char *>(record->message), pcl_exception_message());
    EXPECT_EQ(sizeof record->message, 256U);
    pcl_exception_end_try();
}

TEST(Exception, LongMessagesAreCutAt255Characters) {
    const std::string detail(400, 'd');

    ASSERT_TRUE(
        raisesInOpenFrame([&] { pcl_exception_throw(PCL_RESULT_IO_ERROR, "%s", detail.c_str()); }));
    EXPECT_EQ(pcl_exception_message(), std::string(255, 'd'));
    pcl_exception_end_try();

    ASSERT_TRUE(raisesInOpenFrame([&] { pcl_raise(PCL_RESULT_IO_ERROR, "%s", detail.c_str()); }));
    const std::string prefix = "[PCL_RESULT_IO_ERROR] ";
    EXPECT_EQ(pcl_exception_message(), prefix + std::string(255 - prefix.size(), 'd'));
    pcl_exception_end_try();

    ASSERT_TRUE(
        raisesInOpenFrame([&] { pcl_exception_rethrow(PCL_RESULT_IO_ERROR, detail.c_str()); }));
    EXPECT_EQ(pcl_exception_message(), std::string(255, 'd'));
    pcl_exception_end_try();
}

TEST(Exception, ADetailThatJustFitsIsNotCut) {
    const std::string prefix = "[PCL_RESULT_IO_ERROR] ";
    const std::string detail(255 - prefix.size(), 'd');
    EXPECT_FAILURE(pcl_raise(PCL_RESULT_IO_ERROR, "%s", detail.c_str()), PCL_RESULT_IO_ERROR,
                   detail);
}

TEST(Exception, AnUnknownCodeIsReportedInstead) {
    EXPECT_FAILURE(pcl_raise(static_cast<PclResult_e>(77), "detail"), PCL_RESULT_RUNTIME_ERROR,
                   "Unhandled PclResult_e: 77\n");

    const ScopedHandler handler;
    pcl_raise(static_cast<PclResult_e>(77), "detail");
    ASSERT_EQ(handler.count(), 2U);
    EXPECT_EQ(handler.all()[0].message, "[PCL_RESULT_RUNTIME_ERROR] Unhandled PclResult_e: 77\n");
    EXPECT_EQ(handler.all()[1].code, 77);
    EXPECT_EQ(handler.all()[1].message, "[] detail");
}

TEST(ExceptionFrames, AreAllocatedOnceForEachDepth) {
    // A thread of its own starts with an empty pool.
    std::thread([] {
        EXPECT_EQ(pcl_exception_pooled_frames(), 0U);
        const PclExceptionFrame *first[3];
        for (int round = 0; round < 5; ++round) {
            for (const PclExceptionFrame *&expected : first) {
                pcl_exception_try();
                if (round == 0) {
                    expected = pcl_exception_frame();
                }
                EXPECT_EQ(pcl_exception_frame(), expected);
            }
            EXPECT_EQ(pcl_exception_pooled_frames(), 3U);
            for (int depth = 0; depth < 3; ++depth) {
                pcl_exception_end_try();
            }
            EXPECT_EQ(pcl_exception_frame(), nullptr);
        }
        EXPECT_EQ(pcl_exception_pooled_frames(), 3U);
    }).join();
}

TEST(ExceptionFrames, TheFirstDepthsNeedNoMemory) {
    std::thread([] {
        const FailingAllocation none(0);
        attemptNested(16);
        EXPECT_EQ(none.calls(), 0U);
        EXPECT_EQ(pcl_exception_pooled_frames(), 16U);
    }).join();
}

TEST(ExceptionFrames, MayBeNestedToAnyDepth) {
    std::thread([] {
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(attemptNested(1000), 1000);
            EXPECT_EQ(pcl_exception_frame(), nullptr);
            EXPECT_EQ(pcl_exception_pooled_frames(), 16U);
        }
    }).join();
}

TEST(ExceptionFrames, FailuresOpenNoMoreOfThem) {
    std::thread([] {
        for (int round = 0; round < 1000; ++round) {
            ASSERT_EQ(attemptNested(3), 3);
        }
        EXPECT_EQ(pcl_exception_pooled_frames(), 3U);
        EXPECT_EQ(pcl_exception_frame(), nullptr);
    }).join();
}

TEST(ExceptionFrames, AFailureGoesToTheInnermost) {
    bool outerSawIt = false;
    const PclException outer = pcl_attempt([&] {
        const PclException inner = pcl_attempt([] { pcl_raise(PCL_RESULT_IO_ERROR, "inner"); });
        EXPECT_EQ(inner.code, PCL_RESULT_IO_ERROR);
        outerSawIt = true;
    });
    EXPECT_FALSE(outer);
    EXPECT_TRUE(outerSawIt);
}

TEST(ExceptionThreads, EachHasItsOwnFramesAndRecord) {
    const auto work = [](PclResult_e code) {
        for (int round = 0; round < 5000; ++round) {
            const PclException failure = pcl_attempt(
                [&] { pcl_guarded([&] { pcl_raise(code, "round %d of %d", round, code); }); });
            const std::string expected =
                failures::text(code, "round " + std::to_string(round) + " of " +
                                         std::to_string(static_cast<int>(code)));
            ASSERT_EQ(failure.code, code);
            ASSERT_EQ(failure.message, expected);
        }
        EXPECT_EQ(pcl_exception_frame(), nullptr);
    };
    std::thread other(work, PCL_RESULT_TIMEOUT_ERROR);
    work(PCL_RESULT_IO_ERROR);
    other.join();
}

TEST(ExceptionThreads, LeaveNothingBehind) {
    const auto callAndEnd = [](int threads) {
        for (int i = 0; i < threads; ++i) {
            std::thread([] { EXPECT_EQ(attemptNested(20), 20); }).join();
        }
    };
    callAndEnd(100);
    const std::size_t before = bytesInUse();
    callAndEnd(10000);
    EXPECT_LT(bytesInUse(), before + 10000);
}

TEST(ExceptionThreads, AFrameHereDoesNotCatchAFailureThere) {
    const ScopedHandler handler;
    const PclException failure = pcl_attempt(
        [] { std::thread([] { pcl_raise(PCL_RESULT_IO_ERROR, "elsewhere"); }).join(); });
    EXPECT_FALSE(failure);
    EXPECT_EQ(handler.count(), 1U);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_IO_ERROR] elsewhere");
}
