#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using tool::Arguments;
using tool::Outcome;
using tool::run;
using tool::Tool;

constexpr std::chrono::seconds PATIENCE{20};

Outcome onDevice(const sim::Simulator &device, Arguments arguments, const std::string &input = "") {
    arguments.insert(arguments.begin(), {"--port", device.port()});
    return run(arguments, input);
}

// The body of the command after OPN.
std::string sentTo(const sim::Simulator &device) {
    const sim::Bytes body = device.commands().at(1);
    return {body.begin(), body.end()};
}

std::size_t stopsIn(const std::string &trace) {
    std::size_t count = 0;
    for (const std::string &line : tool::linesOf(trace)) {
        count += line.rfind("-> EOT", 0) == 0 ? 1 : 0;
    }
    return count;
}

TEST(SurveyCommand, AsksAndTellsTheAnswer) {
    const sim::Simulator device("survey wait 50 press 7");
    const Outcome outcome =
        onDevice(device, {"survey", "COMO FOI?", "\xC3\x93TIMO", "--style", "12", "--code", "1A2B",
                          "--bottom-type", "2", "--wait", "30"});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Answer: 7\n");
    EXPECT_EQ(sentTo(device), "EX081A2B030C0009COMO FOI?2005\xD3TIMO");
    EXPECT_FALSE(device.snapshot().open);
}

TEST(SurveyCommand, CxAsksAndTellsTheAnswer) {
    const sim::Simulator device("cxsurvey press 05 enter");
    const json told =
        json::parse(onDevice(device, {"--json", "cxsurvey", "NOTA?", "0 A 100", "--survey-type",
                                      "1", "--message-type", "2", "--score-type", "5", "--wait",
                                      "30", "--idle-wait", "5"})
                        .out);
    EXPECT_EQ(told["answer"], "005");
    EXPECT_EQ(told["exit"], 0);
    EXPECT_EQ(sentTo(device), "EX10125030005NOTA?0 A 100");
}

TEST(SurveyCommand, AnswersAreShownAsTheyCome) {
    const sim::Simulator device("survey answer \"\\x01\\x02\"\ncxsurvey cancel");
    const Outcome outcome = onDevice(device, {"session"}, "survey A\ncxsurvey\n");
    EXPECT_EQ(outcome.out, "Answer: \\x01\nAnswer: C\n");
    EXPECT_EQ(outcome.exit, 0);
}

TEST(SurveyCommand, StopsWhenNobodyAnswers) {
    const sim::Simulator device("survey live\ncxsurvey live");
    const tool::TemporaryFile trace;
    const Outcome outcome = onDevice(
        device, {"session", "--keep-going", "--json", "--trace-plain", "--trace=" + trace.path()},
        "survey A --stop-after 0.1\ncxsurvey A --stop-after 0\ndisplay B\n");
    EXPECT_EQ(outcome.exit, 5);
    const std::vector<std::string> lines = tool::linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 3U) << outcome.out;
    for (const std::size_t i : {0U, 1U}) {
        EXPECT_EQ(json::parse(lines[i])["problem"], "timeout");
        EXPECT_EQ(json::parse(lines[i])["exit"], 5);
        EXPECT_THAT(json::parse(lines[i])["text"], HasSubstr("The survey was stopped."));
    }
    EXPECT_EQ(json::parse(lines[2])["exit"], 0);
    EXPECT_EQ(stopsIn(trace.content()), 2U);
    EXPECT_THAT(trace.content(), HasSubstr("   answer S0"));
}

TEST(SurveyCommand, TimeoutStopsItToo) {
    const sim::Simulator device("survey live");
    const tool::TemporaryFile trace;
    const Outcome outcome = onDevice(
        device, {"survey", "A", "--timeout", "0.1", "--trace-plain", "--trace=" + trace.path()});
    EXPECT_EQ(outcome.exit, 5);
    EXPECT_THAT(outcome.err, HasSubstr("--timeout"));
    EXPECT_EQ(stopsIn(trace.content()), 1U);
    EXPECT_FALSE(device.snapshot().open);
}

TEST(SurveyCommand, InterruptStopsItAndClosesTheSession) {
    for (const bool isCx : {false, true}) {
        sim::Simulator device("survey live\ncxsurvey live");
        const tool::TemporaryFile trace;
        Tool survey({"--port", device.port(), isCx ? "cxsurvey" : "survey", "A", "--trace-plain",
                     "--trace=" + trace.path()});
        ASSERT_TRUE(device.wait_pending(isCx ? "EX10" : "EX08", PATIENCE));
        survey.signal(SIGINT);
        const Outcome outcome = survey.finish();
        EXPECT_EQ(outcome.exit, 130);
        EXPECT_THAT(outcome.err, HasSubstr("Interrupted."));
        EXPECT_EQ(stopsIn(trace.content()), 1U);
        EXPECT_FALSE(device.snapshot().waiting);
        EXPECT_FALSE(device.snapshot().open);
    }
}

TEST(SurveyCommand, AStopThatIsNotAnsweredIsAFailure) {
    const sim::Simulator device("survey live\nfault response EX08 silent times 3");
    const Outcome outcome = onDevice(device, {"survey", "A", "--stop-after", "0"});
    EXPECT_EQ(outcome.exit, 3);
    EXPECT_THAT(outcome.err, HasSubstr("did not answer in time"));
    EXPECT_FALSE(device.snapshot().open);
}

TEST(SurveyCommand, WrongArgumentsSendNothing) {
    for (const Arguments &arguments :
         {Arguments{"survey"}, Arguments{"survey", "A", "B", "C"},
          Arguments{"survey", "A", "--style", "5"}, Arguments{"survey", "A", "--top-type", "3"},
          Arguments{"survey", "A", "--bottom-type", "3"}, Arguments{"survey", "A", "--code", "1A2"},
          Arguments{"survey", "A", "--code", "1A2G"}, Arguments{"survey", "A", "--wait", "1000"},
          Arguments{"survey", std::string(1000, 'x')},
          Arguments{"survey", "A", std::string(1000, 'x')},
          Arguments{"cxsurvey", "1", "2", "3", "4", "5", "6"},
          Arguments{"cxsurvey", "--survey-type", "4"}, Arguments{"cxsurvey", "--message-type", "4"},
          Arguments{"cxsurvey", "--score-type", "6"}, Arguments{"cxsurvey", "--idle-wait", "1000"},
          Arguments{"cxsurvey", "--stop-after", "-1"},
          Arguments{"cxsurvey", std::string(2031, 'x'), "x"}}) {
        Arguments all = {"--port", "none"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        EXPECT_EQ(run(all).exit, 2) << arguments.back();
    }
}

} // namespace
