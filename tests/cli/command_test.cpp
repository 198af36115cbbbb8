#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using tool::Arguments;
using tool::Outcome;
using tool::run;
using tool::TemporaryFile;

// Runs the tool against a simulated PIN pad with this scenario.
Outcome simulate(const std::string &scenario, const Arguments &arguments) {
    const TemporaryFile file(scenario);
    Arguments all = {"--simulate", file.path()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run(all);
}

json only(const Outcome &outcome) {
    const std::vector<std::string> lines = tool::linesOf(outcome.out);
    EXPECT_EQ(lines.size(), 1U) << outcome.out;
    return lines.empty() ? json() : json::parse(lines.front());
}

TEST(Commands, OpenTellsTheResultByName) {
    const Outcome plain = simulate("", {"open"});
    EXPECT_EQ(plain.exit, 0);
    EXPECT_THAT(plain.out, HasSubstr("ABECS_RSP_STAT_ST_OK"));
    EXPECT_THAT(plain.out, HasSubstr("without a secure channel"));
    EXPECT_EQ(plain.err, "");

    const json secure = only(simulate("", {"open", "--secure", "--json"}));
    EXPECT_EQ(secure["name"], "ABECS_RSP_STAT_ST_OK");
    EXPECT_EQ(secure["status"], 0);
    EXPECT_EQ(secure["secure"], true);
    EXPECT_EQ(secure["exit"], 0);
}

TEST(Commands, OpenThatIsRefusedSendsNoClose) {
    const TemporaryFile trace;
    const Outcome outcome =
        simulate("status OPN 040", {"open", "--trace=" + trace.path(), "--trace-plain"});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(outcome.err, HasSubstr("ABECS_RSP_STAT_ST_INTERR"));
    EXPECT_THAT(outcome.err, HasSubstr("Switch it off and on"));
    EXPECT_THAT(trace.content(), testing::Not(HasSubstr("CLO")));
}

TEST(Commands, CaptureTellsWhatWasTyped) {
    const std::string scenario = "capture notify \"DIGITE O CPF\" keys 12345678901 enter";
    const Outcome outcome = simulate(scenario, {"capture", "--max", "11"});
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_EQ(outcome.out, "The PIN pad says: DIGITE O CPF\nTyped: 12345678901\n");
    EXPECT_EQ(outcome.err, "");

    const std::vector<std::string> lines =
        tool::linesOf(simulate(scenario, {"capture", "--json"}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(json::parse(lines[0])["notification"], "DIGITE O CPF");
    EXPECT_EQ(json::parse(lines[1])["value"], "12345678901");
}

TEST(Commands, CaptureWorksOnTheSecureChannel) {
    const Outcome outcome =
        simulate("refuse-plain\ncapture keys 4711 enter", {"--secure", "capture"});
    EXPECT_EQ(outcome.out, "Typed: 4711\n");
    EXPECT_EQ(outcome.exit, 0);
}

TEST(Commands, CancelIsARefusal) {
    const Outcome outcome = simulate("capture keys 1 cancel", {"capture"});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("ABECS_RSP_STAT_ST_CANCEL"));
    EXPECT_THAT(outcome.err, HasSubstr("pressed Cancel"));

    const json told = only(simulate("capture cancel", {"capture", "--json"}));
    EXPECT_EQ(told["problem"], "refused");
    EXPECT_EQ(told["status"], 13);
    EXPECT_EQ(told["name"], "ABECS_RSP_STAT_ST_CANCEL");
    EXPECT_EQ(told["exit"], 1);
}

TEST(Commands, TheDevicesOwnTimeLimitIsATimeout) {
    EXPECT_EQ(simulate("capture timeout", {"capture"}).exit, 5);
    EXPECT_EQ(simulate("event timeout", {"event"}).exit, 5);
}

TEST(Commands, TimeoutEndsTheWaitAndTheSession) {
    const TemporaryFile trace;
    const Outcome outcome = simulate("capture live", {"capture", "--timeout", "0.2",
                                                      "--trace=" + trace.path(), "--trace-plain"});
    EXPECT_EQ(outcome.exit, 5);
    EXPECT_THAT(outcome.err, HasSubstr("--timeout"));
    EXPECT_LT(outcome.time, std::chrono::seconds(10));
    const std::string text = trace.content();
    const std::size_t capture = text.find("-> GCD");
    const std::size_t abort = text.find("-> CAN", capture);
    EXPECT_NE(abort, std::string::npos) << text;
    EXPECT_NE(text.find("<- CLO answer, ABECS_RSP_STAT_ST_OK", abort), std::string::npos) << text;
}

TEST(Commands, DisplayShowsAccentsAndLineBreaks) {
    sim::Simulator device;
    const Outcome outcome = run({"--port", device.port(), "display", "OL\xC3\x81\\nMUNDO"});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    bool shown = false;
    for (const sim::JournalEntry &entry : device.journal()) {
        shown = shown || (entry.kind == "display" && entry.field("line1") == "OL\xC1" &&
                          entry.field("line2") == "MUNDO");
    }
    EXPECT_TRUE(shown);
}

TEST(Commands, IdleMessageStaysOnTheDisplay) {
    sim::Simulator device;
    EXPECT_EQ(
        run({"--port", device.port(), "--idle-message", "CAIXA 1", "display", "--clear"}).exit, 0);
    EXPECT_EQ(device.snapshot().idle_message, "CAIXA 1");
    EXPECT_FALSE(device.snapshot().open);
}

TEST(Commands, IdleMessageStaysAfterAFailureToo) {
    sim::Simulator device("reply GCD id XYZ\ncapture keys 12 enter");
    const Outcome outcome = run({"--port", device.port(), "--idle-message", "CAIXA 1", "capture"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Invalid RSP_ID: XYZ"));
    EXPECT_EQ(device.snapshot().idle_message, "CAIXA 1");
    EXPECT_FALSE(device.snapshot().open);
}

TEST(Commands, CloseLeavesItsMessage) {
    sim::Simulator device;
    EXPECT_EQ(run({"--port", device.port(), "close", "AT\xC3\x89 LOGO"}).exit, 0);
    EXPECT_EQ(device.snapshot().idle_message, "AT\xC9 LOGO");
    EXPECT_FALSE(device.snapshot().open);
    EXPECT_EQ(device.commands().size(), 2U);
}

TEST(Commands, CloseLeavesAnImage) {
    sim::Simulator device("media LOGO text \"x\"");
    const Outcome outcome = run({"--port", device.port(), "close", "A\\nB", "--media", "LOGO"});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(device.snapshot().idle_media, "LOGO");
    EXPECT_EQ(device.snapshot().idle_message, "A\rB");
}

TEST(Commands, CloseWithoutAMessageLeavesTheIdleMessage) {
    sim::Simulator device;
    EXPECT_EQ(run({"--port", device.port(), "--idle-message", "LIVRE", "close"}).exit, 0);
    EXPECT_EQ(device.snapshot().idle_message, "LIVRE");
}

TEST(Commands, CloseThatIsRefusedIsTold) {
    EXPECT_EQ(simulate("status CLO 040", {"display", "A"}).exit, 1);
    EXPECT_EQ(simulate("status CLO 040", {"close"}).exit, 1);
}

TEST(Commands, ImageAndPlayShowStoredFiles) {
    sim::Simulator device("media LOGO text \"x\"\nmedia A text \"a\"\nmedia B text \"b\"");
    EXPECT_EQ(run({"--port", device.port(), "image", "LOGO"}).exit, 0);
    EXPECT_EQ(run({"--port", device.port(), "play", "B", "A"}).exit, 0);
    std::vector<std::string> shown;
    for (const sim::JournalEntry &entry : device.journal()) {
        for (const auto &[name, value] : entry.fields) {
            if (entry.kind == "display" && name == "media") {
                shown.push_back(value);
            }
        }
    }
    EXPECT_THAT(shown, ElementsAre("LOGO", "B", "A"));
}

TEST(Commands, AMissingImageIsARefusal) {
    const Outcome outcome = simulate("", {"image", "LOGO"});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(outcome.err, HasSubstr("ABECS_RSP_STAT_ST_MFNFOUND"));
    EXPECT_THAT(outcome.err, HasSubstr("pinpad media list"));
}

TEST(Commands, EventNamesKeysAndCards) {
    EXPECT_EQ(simulate("event key f2", {"event"}).out, "Event 5: F2 pressed.\n");
    const std::string scenario = "card gold track1 \"B1234^NAME\" track2 \"4000001234=99\"\n"
                                 "event swipe gold";
    const Outcome outcome = simulate(scenario, {"event", "--options", "010000"});
    EXPECT_EQ(outcome.out, "Event 90: card swiped.\n"
                           "PP_TRK1INC: 10 characters, not shown\n"
                           "PP_TRK2INC: 13 characters, not shown\n");
    const json told = only(simulate(scenario, {"event", "--json"}));
    EXPECT_EQ(told["event"], 90);
    EXPECT_EQ(told["name"], "card swiped");
    EXPECT_EQ(told["values"][1]["id"], "PP_TRK2INC");
    EXPECT_EQ(told["values"][1]["length"], 13);
    EXPECT_FALSE(told["values"][1].contains("text"));
    EXPECT_THAT(simulate(scenario, {"event", "--trace-secrets"}).out,
                HasSubstr("PP_TRK2INC: 4000001234=99"));
}

TEST(Commands, EventSendsItsParameters) {
    sim::Simulator device("event key enter");
    EXPECT_EQ(run({"--port", device.port(), "event", "--number", "255", "--pair", "5,30"}).exit, 0);
    const sim::Bytes body = device.commands().at(1);
    EXPECT_EQ(std::string(body.begin(), body.end()), std::string("CEX023\0\6\0\6"
                                                                 "100099\0\x0C\0\1\xFF\0\x23\0\4"
                                                                 "0530",
                                                                 29));
}

TEST(Commands, CaptureSendsItsParameters) {
    sim::Simulator device("capture keys 1 enter");
    EXPECT_EQ(run({"capture", "--prompt", "258", "--min=0", "--max=9", "--wait", "30", "--port",
                   device.port()})
                  .exit,
              0);
    const sim::Bytes body = device.commands().at(1);
    EXPECT_EQ(std::string(body.begin(), body.end()),
              std::string("GCD021\0\x0B\0\2\1\2\0\x0D\0\1\0\0\x0E\0\1\x09\0\x0C\0\1\x1E", 27));
}

TEST(Commands, PortsListsOnePortALine) {
    const json told = only(run({"ports", "--json"}));
    ASSERT_TRUE(told["ports"].is_array());
    const Outcome outcome = run({"ports"});
    EXPECT_EQ(outcome.exit, 0);
    std::vector<std::string> expected = told["ports"].get<std::vector<std::string>>();
    if (expected.empty()) {
        expected = {"No serial ports found."};
    }
    EXPECT_EQ(tool::linesOf(outcome.out), expected);
}

TEST(Commands, AStatusThatIsNoneIsAFailure) {
    const Outcome outcome = simulate("status DEX 001", {"display", "A"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Unknown value for RSP_STAT: 001"));
    const json told = only(simulate("status DEX 001", {"display", "A", "--json"}));
    EXPECT_EQ(told["problem"], "failure");
    EXPECT_EQ(told["code"], "PCL_RESULT_PROTOCOL_ERROR");
    EXPECT_EQ(told["detail"], "Unknown value for RSP_STAT: 001");
    EXPECT_EQ(told["exit"], 3);
}

TEST(Commands, APulledCableIsAFailureThatSaysWhatToDo) {
    const Outcome outcome =
        simulate("fault response GCD unplug 4\ncapture keys 12 enter", {"capture"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Plug it in and run it again"));
}

TEST(Commands, APulledCableEndsTheWait) {
    const Outcome outcome = simulate("fault ack GCD unplug-after", {"capture"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Plug it in and run it again"));
}

TEST(Commands, ASilentDeviceIsAFailureThatSaysWhatToDo) {
    const Outcome outcome = simulate("fault ack DEX silent", {"display", "A"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("did not answer in time"));
}

struct WrongArguments {
    Arguments arguments;
    std::string text;
};

class Usage : public testing::TestWithParam<WrongArguments> {};

TEST_P(Usage, IsExplained) {
    const Outcome outcome = run(GetParam().arguments);
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, Usage,
    testing::Values(
        WrongArguments{{}, "No command given."},
        WrongArguments{{"dance"}, "There is no command 'dance'."},
        WrongArguments{{"media"}, "No command given."},
        WrongArguments{{"media", "dance"}, "There is no command 'dance'."},
        WrongArguments{{"open"}, "--port NAME"}, WrongArguments{{"open", "--port"}, "--port"},
        WrongArguments{{"open", "--port", "X", "--simulate"}, "either --port or --simulate"},
        WrongArguments{{"open", "--simulate", "/nowhere/x"}, "Cannot read the scenario /nowhere/x"},
        WrongArguments{{"open", "--simulate", "--fast"}, "--fast"},
        WrongArguments{{"open", "again", "--simulate"}, "again"},
        WrongArguments{{"capture", "--simulate", "--min", "33"}, "not in range 0 to 32"},
        WrongArguments{{"capture", "--simulate", "--max", "33"}, "not in range 0 to 32"},
        WrongArguments{{"capture", "--simulate", "--max", "-1"}, "--max"},
        WrongArguments{{"capture", "--simulate", "--min", "5", "--max", "4"},
                       "--min is greater than --max"},
        WrongArguments{{"capture", "--simulate", "--prompt", "65536"}, "not in range 0 to 65535"},
        WrongArguments{{"capture", "--simulate", "--wait", "256"}, "not in range 0 to 255"},
        WrongArguments{{"capture", "--simulate", "--timeout", "-1"}, "--timeout"},
        WrongArguments{{"display", "--simulate"}, "either a text or --clear"},
        WrongArguments{{"display", "A", "--clear", "--simulate"}, "either a text or --clear"},
        WrongArguments{{"display", "\xE2\x82\xAC", "--simulate"}, "U+20AC"},
        WrongArguments{{"display", std::string(161, 'A'), "--simulate"}, "at most 160"},
        WrongArguments{{"image", "--simulate"}, "NAME"},
        WrongArguments{{"image", "NINECHARS", "--simulate"}, "at most 8"},
        WrongArguments{{"image", "LOG\xC3\x93", "--simulate"}, "must be ASCII"},
        WrongArguments{{"image", "", "--simulate"}, "is empty"},
        WrongArguments{{"play", "A", "NINECHARS", "--simulate"}, "at most 8"},
        WrongArguments{{"event", "--options", "12345", "--simulate"}, "exactly 6"},
        WrongArguments{{"event", "--options", "12345\xC3\xA1", "--simulate"}, "exactly 6"},
        WrongArguments{{"event", "--number", "256", "--simulate"}, "not in range 0 to 255"},
        WrongArguments{{"event", "--pair", "5", "--simulate"}, "two numbers"},
        WrongArguments{{"event", "--pair", "100,5", "--simulate"}, "two numbers"},
        WrongArguments{{"event", "--pair", "5,x", "--simulate"}, "two numbers"},
        WrongArguments{{"event", "--pair", "5,", "--simulate"}, "two numbers"},
        WrongArguments{{"close", std::string(33, 'A'), "--simulate"}, "use --extended"},
        WrongArguments{{"close", "A\\nB", "--simulate"}, "use --extended"},
        WrongArguments{{"close", std::string(129, 'A'), "--extended", "--simulate"}, "at most 128"},
        WrongArguments{{"open", "--idle-message", std::string(33, 'A'), "--simulate"},
                       "at most 32"},
        WrongArguments{{"open", "--idle-message", "A\\nB", "--simulate"}, "line breaks"},
        WrongArguments{{"open", "--trace=/nowhere/x", "--simulate"},
                       "Cannot write the trace to /nowhere/x: No such file or directory."},
        WrongArguments{{"session", "/nowhere/x", "--simulate"}, "Cannot read the file"},
        WrongArguments{{"media", "load", "--simulate"}, "FILE"},
        WrongArguments{{"media", "load", "/nowhere/x", "--simulate"}, "/nowhere/x"}));

TEST(Commands, SecondsAreANumber) {
    for (const std::string seconds :
         {"nan", "NAN", "inf", "-inf", "infinity", "1e999", "-1", "-0.1", "", " ", " 5", "5s",
          "0x10", "+5", "1,5", "86400.1"}) {
        for (const Arguments &arguments :
             {Arguments{"open", "--simulate", "--timeout", seconds},
              Arguments{"survey", "A", "--simulate", "--stop-after", seconds}}) {
            const Outcome outcome = run(arguments);
            EXPECT_EQ(outcome.exit, 2) << seconds;
            EXPECT_THAT(outcome.err,
                        HasSubstr("'" + seconds + "' is no number of seconds of 0 to 86400."));
        }
    }
    for (const std::string timeout : {"--timeout=nan", "--timeout="}) {
        const Outcome outcome = run({timeout, "--simulate", "open"});
        EXPECT_EQ(outcome.exit, 2);
        EXPECT_THAT(outcome.err, HasSubstr("--timeout: "));
    }
    for (const std::string seconds : {"0", "0.5", ".5", "1e1", "86400"}) {
        EXPECT_EQ(run({"open", "--simulate", "--timeout", seconds}).exit, 0) << seconds;
    }
}

TEST(Commands, AScenarioThatMakesNoSenseIsExplained) {
    const Outcome outcome = simulate("display 20 8\ndance", {"open"});
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_THAT(outcome.err, HasSubstr(": line 2: "));
}

TEST(Commands, OptionsMayStandOnEitherSide) {
    const TemporaryFile scenario("capture keys 12 enter");
    for (const Arguments &arguments :
         {Arguments{"--json", "--simulate", scenario.path(), "capture", "--max", "2"},
          Arguments{"capture", "--max", "2", "--json", "--simulate", scenario.path()},
          Arguments{"--json", "capture", "--simulate=" + scenario.path(), "--max", "2"}}) {
        EXPECT_EQ(only(run(arguments))["value"], "12");
    }
}

TEST(Commands, TheBuiltInCustomerAnswers) {
    EXPECT_EQ(run({"--simulate", "capture"}).out, "Typed: 12345\n");
    EXPECT_EQ(run({"event", "--simulate"}).out, "Event 0: Enter pressed.\n");
}

TEST(Commands, VersionIsTheLibrarys) {
    const Outcome outcome = run({"--version"});
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_THAT(outcome.out, testing::MatchesRegex("pinpad [0-9.]+-[0-9]+-g[0-9a-f]{7}\n"));
}

} // namespace
