#pragma once

#include "core/guard.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// The statement raises exactly this: the code, and the text "[NAME OF CODE] detail".
#define EXPECT_FAILURE(statement, code, detail)                                                    \
    EXPECT_TRUE(failures::raises([&] { statement; }, code, detail))

/// The statement raises nothing.
#define EXPECT_NO_FAILURE(statement) EXPECT_TRUE(failures::raisesNothing([&] { statement; }))
#define ASSERT_NO_FAILURE(statement) ASSERT_TRUE(failures::raisesNothing([&] { statement; }))

namespace failures {

/// The whole message of a failure, cut as the library cuts it.
inline std::string text(PclResult_e code, const std::string &detail) {
    const std::string whole = std::string("[") + pcl_result_to_string(code) + "] " + detail;
    return whole.substr(0, PCL_EXCEPTION_MESSAGE_SIZE - 1);
}

template <typename Body>
testing::AssertionResult raises(Body body, PclResult_e code, const std::string &detail) {
    const PclException failure = pcl_attempt(body);
    const std::string expected = text(code, detail);
    if (!failure) {
        return testing::AssertionFailure() << "nothing was raised, expected " << expected;
    }
    if (failure.code != code || expected != failure.message) {
        return testing::AssertionFailure() << "raised " << failure.code << " \"" << failure.message
                                           << "\", expected " << code << " \"" << expected << '"';
    }
    return testing::AssertionSuccess();
}

template <typename Body>
testing::AssertionResult raisesNothing(Body body) {
    const PclException failure = pcl_attempt(body);
    if (failure) {
        return testing::AssertionFailure()
               << "raised " << failure.code << " \"" << failure.message << '"';
    }
    return testing::AssertionSuccess();
}

/// What a handler was called with.
struct Seen {
    std::int32_t code;
    std::string message;
    bool messageWasNull;
};

} // namespace failures

/// Installs an uncaught handler that records what it is called with and returns; removes it at the
/// end of the scope. One at a time; the record may be read and written by several threads. The
/// setter is the library's own, or the one of a loaded shared library.
class ScopedHandler {
public:
    using Setter = void(PCL_CALL *)(PclUncaughtHandler);

    explicit ScopedHandler(Setter setter = pcl_exception_set_uncaught_handler) : m_setter(setter) {
        clear();
        m_setter(&record);
    }
    ~ScopedHandler() { m_setter(nullptr); }
    ScopedHandler(const ScopedHandler &) = delete;
    ScopedHandler &operator=(const ScopedHandler &) = delete;

    std::size_t count() const { return all().size(); }

    /// The latest; 0 and an empty text when the handler was not called.
    std::int32_t code() const { return last().code; }
    std::string message() const { return last().message; }

    std::vector<failures::Seen> all() const {
        const std::lock_guard lock(log().mutex);
        return log().seen;
    }

    void clear() {
        const std::lock_guard lock(log().mutex);
        log().seen.clear();
    }

private:
    struct Log {
        std::mutex mutex;
        std::vector<failures::Seen> seen;
    };

    static Log &log() {
        static Log instance;
        return instance;
    }

    static void PCL_CALL record(std::int32_t code, const char *message) {
        const std::lock_guard lock(log().mutex);
        log().seen.push_back({code, message == nullptr ? "" : message, message == nullptr});
    }

    failures::Seen last() const {
        const std::lock_guard lock(log().mutex);
        return log().seen.empty() ? failures::Seen{0, "", true} : log().seen.back();
    }

    Setter m_setter;
};
