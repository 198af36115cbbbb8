#include "core/guard.h"

#include "core/owned.h"
#include "tests/support/failures.h"
#include "tests/support/throws.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::vector<std::string> events;

struct Noted {
    std::string name;

    explicit Noted(std::string called) : name(std::move(called)) {}
    ~Noted() { events.push_back("release " + name); }
    Noted(const Noted &) = delete;
    Noted &operator=(const Noted &) = delete;
};

void PCL_CALL noteHandler(std::int32_t, const char *message) {
    events.push_back(std::string("handler ") + message);
}

struct Handle {
    int id;
};

void destroyLoudly(Handle **handle) {
    events.push_back("destroy " + std::to_string((*handle)->id));
    delete *handle;
    *handle = nullptr;
    pcl_raise(PCL_RESULT_IO_ERROR, "destroy failed");
}

} // namespace

TEST(Attempt, GivesNothingBackWhenNothingWasRaised) {
    const PclException failure = pcl_attempt([] {});
    EXPECT_FALSE(failure);
    EXPECT_EQ(failure.code, PCL_RESULT_OK);
    EXPECT_STREQ(failure.message, "");
}

TEST(Attempt, CopiesTheFailure) {
    const PclException failure = pcl_attempt([] { pcl_raise(PCL_RESULT_DEVICE_BUSY, "port"); });
    EXPECT_TRUE(pcl_attempt([] { pcl_raise(PCL_RESULT_IO_ERROR, "another"); }));
    EXPECT_EQ(failure.code, PCL_RESULT_DEVICE_BUSY);
    EXPECT_STREQ(failure.message, "[PCL_RESULT_DEVICE_BUSY] port");
}

TEST(Attempt, LeavesTheRecordAsItWasRaised) {
    static_cast<void>(pcl_attempt([] {
        const PclOwned<Handle, destroyLoudly> released(new Handle{1});
        pcl_raise(PCL_RESULT_DEVICE_BUSY, "port");
    }));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_DEVICE_BUSY);
    EXPECT_STREQ(pcl_exception_message(), "[PCL_RESULT_DEVICE_BUSY] port");
    static_cast<void>(pcl_attempt([] { throw std::bad_alloc(); }));
    EXPECT_EQ(pcl_exception_code(), PCL_RESULT_MALLOC_ERROR);
    EXPECT_STREQ(pcl_exception_message(), "[PCL_RESULT_MALLOC_ERROR] ");
}

TEST(Attempt, LetsForeignExceptionsThroughWithItsFrameClosed) {
    const auto throwing = [] {
        static_cast<void>(pcl_attempt(
            [] { static_cast<void>(pcl_attempt([] { throw std::runtime_error("foreign"); })); }));
    };
    EXPECT_THROW(throwing(), std::runtime_error);
    EXPECT_EQ(pcl_exception_frame(), nullptr);
}

TEST(Attempt, TakesAnExhaustedHeapForAFailedAllocation) {
    const PclException failure = pcl_attempt([] { throw std::bad_alloc(); });
    EXPECT_EQ(failure.code, PCL_RESULT_MALLOC_ERROR);
    EXPECT_STREQ(failure.message, "[PCL_RESULT_MALLOC_ERROR] ");
    EXPECT_EQ(pcl_exception_frame(), nullptr);
}

TEST(Guarded, YieldsTheBodysValue) {
    EXPECT_EQ(pcl_guarded(-1, [] { return 5; }), 5);
    bool ran = false;
    pcl_guarded([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(Guarded, RunsItsBodyInTheFrameThatIsOpen) {
    static_cast<void>(pcl_attempt([] {
        const PclExceptionFrame *outer = pcl_exception_frame();
        pcl_guarded([&] { EXPECT_EQ(pcl_exception_frame(), outer); });
        EXPECT_EQ(pcl_guarded(0, [&] { return pcl_exception_frame() == outer ? 1 : 2; }), 1);
    }));
    EXPECT_EQ(pcl_guarded(0, [] { return pcl_exception_frame() != nullptr ? 1 : 2; }), 1);
}

TEST(Guarded, ThrowsAFailureOnceHoweverDeepItStruck) {
    const ScopedHandler handler;
    const std::size_t before = throwsSoFar();
    const int result = pcl_guarded(-3, [] {
        pcl_guarded([] { pcl_guarded([] { pcl_raise(PCL_RESULT_IO_ERROR, "line"); }); });
        return 1;
    });
    EXPECT_EQ(result, -3);
    EXPECT_EQ(handler.count(), 1U);
    EXPECT_EQ(throwsSoFar(), before + 1);
}

TEST(Guarded, TakesAnExhaustedHeapForAFailedAllocationAtAnyDepth) {
    EXPECT_FAILURE(pcl_guarded([] { pcl_guarded([] { throw std::bad_alloc(); }); }),
                   PCL_RESULT_MALLOC_ERROR, "");
    const ScopedHandler handler;
    pcl_guarded([] { pcl_guarded([] { throw std::bad_alloc(); }); });
    EXPECT_EQ(handler.code(), PCL_RESULT_MALLOC_ERROR);
}

TEST(Guarded, RaisesTheFailureAgainUnchanged) {
    EXPECT_FAILURE(pcl_guarded([] {
                       pcl_guarded(0, [] {
                           pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "100%% [of it]");
                           return 1;
                       });
                   }),
                   PCL_RESULT_PROTOCOL_ERROR, "100% [of it]");
}

TEST(Guarded, GivesTheFallbackWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const int result = pcl_guarded(-3, [] {
        pcl_raise(PCL_RESULT_IO_ERROR, "line");
        return 1;
    });
    EXPECT_EQ(result, -3);
    EXPECT_EQ(handler.count(), 1U);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_IO_ERROR] line");
}

TEST(Guarded, EverythingIsReleasedInnermostFirstBeforeTheHandlerHears) {
    events.clear();
    pcl_exception_set_uncaught_handler(&noteHandler);
    pcl_guarded([] {
        const Noted outer("outer");
        pcl_guarded([] {
            const Noted first("first");
            const Noted second("second");
            pcl_raise(PCL_RESULT_IO_ERROR, "line");
        });
        ADD_FAILURE() << "the inner guard returned";
    });
    pcl_exception_set_uncaught_handler(nullptr);
    EXPECT_EQ(events, (std::vector<std::string>{"release second", "release first", "release outer",
                                                "handler [PCL_RESULT_IO_ERROR] line"}));
}

TEST(Guarded, AFailureInAReleaseDoesNotReplaceTheOneOnItsWay) {
    events.clear();
    EXPECT_FAILURE(pcl_guarded([] {
                       const PclOwned<Handle, destroyLoudly> one(new Handle{1});
                       const PclOwned<Handle, destroyLoudly> two(new Handle{2});
                       pcl_raise(PCL_RESULT_TIMEOUT_ERROR, "first cause");
                   }),
                   PCL_RESULT_TIMEOUT_ERROR, "first cause");
    EXPECT_EQ(events, (std::vector<std::string>{"destroy 2", "destroy 1"}));
    EXPECT_EQ(pcl_exception_frame(), nullptr);
}

TEST(Owned, ReleasesOnTheNormalPathToo) {
    events.clear();
    EXPECT_NO_FAILURE((PclOwned<Handle, destroyLoudly>(new Handle{3})));
    EXPECT_EQ(events, std::vector<std::string>{"destroy 3"});
}
