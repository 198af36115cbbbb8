// Every allocation of every command fails in turn: out of memory is what is raised, nothing is
// kept, and the next command works on the same session.

#include "abecs/open.h"
#include "abecs/param_map.h"
#include "core/memory.h"
#include "tests/robustness/heap_watch.h"
#include "tests/robustness/rig.h"
#include "tests/soak/commands.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int32_t NOT_RUN = -99;
constexpr std::size_t MANY = 1000;

struct Outcome {
    PclException failure;
    std::int32_t result = NOT_RUN;
    heap::Watched memory;
};

Outcome runWithFailing(std::size_t failing, const faults::Command &command, AbecsPinpad *pinpad) {
    if (command.prepare != nullptr) {
        EXPECT_NO_FAILURE(command.prepare(pinpad));
    }
    Outcome outcome;
    outcome.memory = heap::watch(failing, [&] {
        outcome.failure = pcl_attempt([&] { outcome.result = command.run(pinpad); });
    });
    return outcome;
}

void expectOutOfMemory(const PclException &failure) {
    EXPECT_EQ(PCL_RESULT_MALLOC_ERROR, failure.code);
    EXPECT_STREQ("[PCL_RESULT_MALLOC_ERROR] ", failure.message);
}

class FailingAllocation : public testing::TestWithParam<std::size_t> {
protected:
    static const faults::Command &command() { return soak::commands().at(GetParam()); }

    static void runOnce(robustness::Rig &rig) {
        const Outcome outcome = runWithFailing(0, command(), rig.pinpad());
        EXPECT_EQ(command().good, outcome.result);
        rig.expectUsable(command(), outcome.failure);
    }

    static void failEach(bool secure) {
        robustness::Rig rig(secure);
        // What the library keeps for the next answer is there from then on.
        runOnce(rig);
        std::size_t failing = 1;
        for (; failing < MANY; ++failing) {
            SCOPED_TRACE(testing::Message() << "allocation " << failing);
            const Outcome outcome = runWithFailing(failing, command(), rig.pinpad());
            EXPECT_EQ(0, outcome.memory.kept);
            rig.expectUsable(command(), outcome.failure);
            if (outcome.memory.calls < failing) {
                EXPECT_STREQ("", outcome.failure.message);
                EXPECT_EQ(command().good, outcome.result);
                break;
            }
            expectOutOfMemory(outcome.failure);
        }
        EXPECT_LT(failing, MANY);
        // The abort needs no memory, every other command at least its packet.
        EXPECT_EQ(command().frame == soak::ABORT, failing == 1);
    }
};

TEST_P(FailingAllocation, EachOne) {
    failEach(false);
}

class FailingAllocationOnTheSecureChannel : public FailingAllocation {};

TEST_P(FailingAllocationOnTheSecureChannel, EachOne) {
    failEach(true);
}

INSTANTIATE_TEST_SUITE_P(Commands, FailingAllocation,
                         testing::Range<std::size_t>(0, soak::commands().size()),
                         robustness::commandName);

// Extension commands are never encrypted.
INSTANTIATE_TEST_SUITE_P(Commands, FailingAllocationOnTheSecureChannel,
                         testing::Range<std::size_t>(0, faults::commands().size()),
                         robustness::commandName);

// A put that fails must not release the data: its owner would release it a second time.
TEST(FailingAllocationOfAParamMap, LeavesTheDataWithTheCaller) {
    std::size_t failing = 1;
    for (bool stored = false; !stored && failing < MANY; ++failing) {
        SCOPED_TRACE(testing::Message() << "allocation " << failing);
        const AbecsParamMapPtr map(abecsParamMapCreate());
        auto *data = static_cast<std::uint8_t *>(pcl_memdup("typed", 6));
        const AbecsParamValue record{6, data, 0};
        PclException failure;
        heap::watch(failing, [&] {
            failure = pcl_attempt([&] { abecsParamMapPut(map.get(), 1, &record, 1); });
        });
        stored = !failure;
        if (!stored) {
            expectOutOfMemory(failure);
            EXPECT_STREQ("typed", reinterpret_cast<const char *>(data));
            EXPECT_EQ(nullptr, abecsParamMapGet(map.get(), 1));
            pcl_free(data);
        }
    }
    EXPECT_GT(failing, 3U);
    EXPECT_LT(failing, MANY);
}

TEST(FailingAllocationOfASession, LeavesNoPortOpen) {
    const sim::Simulator device;
    std::size_t failing = 1;
    for (; failing < MANY; ++failing) {
        SCOPED_TRACE(testing::Message() << "allocation " << failing);
        PclException failure;
        bool created = false;
        const std::string port = device.port();
        const heap::Watched memory = heap::watch(failing, [&] {
            failure = pcl_attempt([&] {
                const AbecsPinpadPtr pinpad(abecs_pinpad_create(port.c_str()));
                created = pinpad != nullptr;
            });
        });
        EXPECT_EQ(0, memory.kept);
        if (memory.calls < failing) {
            EXPECT_STREQ("", failure.message);
            EXPECT_TRUE(created);
            break;
        }
        expectOutOfMemory(failure);
        EXPECT_FALSE(created);
    }
    EXPECT_GT(failing, 1U);
    EXPECT_LT(failing, MANY);
}

} // namespace
