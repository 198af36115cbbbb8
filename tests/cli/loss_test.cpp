#include "sim/simulator.h"
#include "tests/cli/commands_of.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

/// What is not written, and what is not read, is no success.

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;
using tool::Folder;
using tool::Outcome;

constexpr char LOST[] = "Standard output cannot be written (No space left on device): results are "
                        "missing.\n";

TEST(Loss, OfTheOutputIsAFailure) {
    const Folder folder;
    for (const std::string command :
         {"--simulate display A", "--simulate capture --json", "--simulate qr A", "ports",
          "ports --json", "--help", "capture --help", "--version"}) {
        const Outcome outcome = folder.shell("pinpad " + command + " >/dev/full");
        EXPECT_EQ(outcome.exit, 3) << command;
        EXPECT_EQ(outcome.err, LOST) << command;
    }
}

TEST(Loss, OfAClosedOutputIsAFailure) {
    const Folder folder;
    for (const std::string closed : {">&-", "<&- >&-"}) {
        const Outcome outcome = folder.shell("pinpad --simulate display A " + closed);
        EXPECT_EQ(outcome.exit, 3) << closed;
        EXPECT_EQ(outcome.err, "Standard output cannot be written (Bad file descriptor): results "
                               "are missing.\n")
            << closed;
    }
}

// What the tool tells must not go into whatever it opens next.
TEST(Loss, OfEveryStreamLeavesTheLineAlone) {
    const Folder folder;
    sim::Simulator device;
    for (const std::string command : {"image LOGO", "image LOGO --trace", "display A"}) {
        const Outcome outcome =
            folder.shell("pinpad --port " + device.port() + " " + command + " <&- >&- 2>&-");
        EXPECT_EQ(outcome.exit, command == "display A" ? 3 : 1);
    }
    EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "DSI", "CLO", "OPN", "DSI", "CLO",
                                                         "OPN", "DEX", "CLO"));
}

TEST(Loss, OfAProblemIsToldBesideIt) {
    const Folder folder;
    const Outcome outcome = folder.shell("pinpad --simulate --json image LOGO >/dev/full");
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(outcome.err, StartsWith("The PIN pad answered ABECS_RSP_STAT_ST_MFNFOUND."));
    EXPECT_THAT(outcome.err, testing::EndsWith(LOST));
}

TEST(Loss, EndsAScript) {
    const Folder folder;
    for (const std::string options : {"", " --keep-going", " --json", " --json --keep-going"}) {
        sim::Simulator device("media LOGO text \"x\"");
        folder.write("script", "media list\nimage LOGO\n");
        const Outcome outcome = folder.shell("pinpad --port " + device.port() + " session script" +
                                             options + " >/dev/full");
        EXPECT_EQ(outcome.exit, 3) << options;
        EXPECT_EQ(outcome.err, LOST) << options;
        EXPECT_THAT(commandsOf(device), testing::ElementsAre("OPN", "LMF", "CLO")) << options;
    }
}

TEST(Loss, OfTheTraceIsAFailure) {
    const Folder folder;
    const std::string lost =
        "The trace cannot be written (No space left on device): frames are missing.";
    const Outcome told = folder.shell("pinpad --simulate display A --trace=/dev/full");
    EXPECT_EQ(told.exit, 3);
    EXPECT_EQ(told.out, "The text is on the display.\n");
    EXPECT_EQ(told.err, lost + "\n");

    const Outcome asJson = folder.shell("pinpad --simulate display A --trace=/dev/full --json");
    EXPECT_EQ(asJson.exit, 3);
    const std::vector<std::string> lines = tool::linesOf(asJson.out);
    ASSERT_EQ(lines.size(), 2U) << asJson.out;
    EXPECT_EQ(json::parse(lines[0])["exit"], 0);
    EXPECT_EQ(json::parse(lines[1])["exit"], 3);
    EXPECT_EQ(json::parse(lines[1])["text"], lost);

    EXPECT_EQ(folder.shell("pinpad --simulate display A --trace 2>/dev/full").exit, 3);
    EXPECT_EQ(folder.shell("pinpad --simulate image LOGO --trace=/dev/full").exit, 1);
}

TEST(Loss, OfTheRestOfAScriptIsAFailure) {
    const Folder folder;
    for (const std::string options : {"", "--keep-going "}) {
        const Outcome file =
            folder.shell("pinpad --simulate session " + options + "/proc/self/mem");
        EXPECT_EQ(file.exit, 3);
        EXPECT_EQ(file.err, "/proc/self/mem:1: The file cannot be read: Input/output error\n");
        const Outcome input = folder.shell("pinpad --simulate session " + options + "<.");
        EXPECT_EQ(input.exit, 3);
        EXPECT_EQ(input.err, "-:1: Standard input cannot be read: Is a directory\n");
    }
}

TEST(Loss, AFolderIsNoScript) {
    const Folder folder;
    const Outcome outcome = folder.shell("pinpad --simulate session .");
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.err, "This is a folder, not a file: .\n");
}

TEST(Loss, ALineThatIsTooLongEndsAScript) {
    const Folder folder;
    folder.write("script", "display A\n" + std::string(100000, 'x') + "\ndisplay B\n");
    for (const std::string options : {"", "--keep-going "}) {
        for (const std::string name : {"script", "- <script"}) {
            const Outcome outcome = folder.shell("pinpad --simulate session " + options + name);
            EXPECT_EQ(outcome.exit, 2);
            EXPECT_EQ(outcome.out, "The text is on the display.\n");
            EXPECT_EQ(outcome.err,
                      name.substr(0, name.find(' ')) + ":2: The line has more than 65536 bytes.\n");
        }
    }
}

TEST(Loss, AScriptThatEndsWithoutANewlineIsWhole) {
    const Folder folder;
    folder.write("script", "display A\ndisplay B");
    EXPECT_EQ(folder.shell("pinpad --simulate session script").out,
              "The text is on the display.\nThe text is on the display.\n");
}

TEST(Loss, AFolderOrAFloodIsNoScenario) {
    const Folder folder;
    const Outcome directory = folder.shell("pinpad open --simulate .");
    EXPECT_EQ(directory.exit, 2);
    EXPECT_THAT(directory.err, StartsWith("Cannot read the scenario .: it is a directory."));
    const Outcome flood = folder.shell("pinpad open --simulate /dev/zero");
    EXPECT_EQ(flood.exit, 2);
    EXPECT_THAT(flood.err, HasSubstr("it has more than 16777216 bytes"));
}

} // namespace
