#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <future>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using tool::Outcome;
using tool::run;
using tool::Tool;

TEST(Port, ThatIsMissingIsNamed) {
    const Outcome outcome = run({"--port", "ttyNone0", "open"});
    EXPECT_EQ(outcome.exit, 4);
    EXPECT_THAT(outcome.err, HasSubstr("No such port: ttyNone0"));
    EXPECT_THAT(outcome.err, HasSubstr("pinpad ports"));
}

TEST(Port, ThatIsSomethingElseIsNamed) {
    const tool::TemporaryFile file;
    const Outcome outcome = run({"--port", file.path(), "open"});
    EXPECT_EQ(outcome.exit, 4);
    EXPECT_THAT(outcome.err, HasSubstr("no serial port"));
}

TEST(Port, ThatIsBusyIsNamedWithAWayToFindWhoHasIt) {
    sim::Simulator device;
    Tool holder({"--port", device.port(), "session", "-"});
    ASSERT_TRUE(device.wait_for([](const sim::Snapshot &state) { return state.open; },
                                std::chrono::seconds(20)));
    const Outcome outcome = run({"--port", device.port(), "open"});
    EXPECT_EQ(outcome.exit, 4);
    EXPECT_EQ(outcome.err, "Port is busy: " + device.port() +
                               " \xE2\x80\x94 another program has it open. Close it, or find it "
                               "with: fuser " +
                               device.port() + "\n");
    const Outcome told = run({"--port", device.port(), "open", "--json"});
    EXPECT_EQ(nlohmann::json::parse(told.out)["problem"], "port");
    EXPECT_EQ(holder.finish().exit, 0);
}

// Runs the tool without root's right to use every file. What a thread gives up is lost to the
// processes that it starts, and to no other thread.
Outcome runWithoutRightsToFiles(const tool::Arguments &arguments) {
    return std::async(std::launch::async,
                      [&] {
                          if (::geteuid() == 0) {
                              EXPECT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE), 0);
                              EXPECT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH), 0);
                          }
                          return run(arguments);
                      })
        .get();
}

TEST(Port, ThatMustNotBeUsedIsNamed) {
    sim::Simulator device;
    ASSERT_EQ(::chmod(device.port().c_str(), 0), 0);
    const Outcome outcome = runWithoutRightsToFiles({"--port", device.port(), "open"});
    EXPECT_EQ(outcome.exit, 4);
    EXPECT_THAT(outcome.err, HasSubstr("Permission denied"));
    EXPECT_THAT(outcome.err, HasSubstr("dialout"));
}

TEST(Port, WithNobodyBehindItIsNoPinPad) {
    sim::Simulator device("fault can silent");
    const Outcome outcome = run({"--port", device.port(), "open"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("No answer on this port"));
}

} // namespace
