#include "abecs/open.h"
#include "cli/output.h"
#include "ext/mifare.h"
#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <functional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using tool::Arguments;
using tool::Outcome;
using tool::run;
using tool::TemporaryFile;

constexpr char TYPED[] = "83917264";
constexpr char PAN[] = "5412678905431234";
constexpr char NAME[] = "SILVA/MARIA";
constexpr char KEY[] = "9F8E7D6C5B4A39281706F5E4D3C2B1A0";

// Bytes of a text as the trace shows them.
std::string hexOf(const std::string &text) {
    std::string hex;
    for (const char byte : text) {
        char two[4];
        std::snprintf(two, sizeof two, "%02X ", static_cast<unsigned>(byte));
        hex += two;
    }
    hex.pop_back();
    return hex;
}

std::string customer(const std::string &fault) {
    return std::string("session-key ") + KEY + "\ncapture * keys " + TYPED + " enter\ncard gold " +
           "track1 \"B" + PAN + "^" + NAME + "^9912\" track2 \"" + PAN + "=9912\"\n" +
           "event * swipe gold\n" + fault + "\n" + "reply CEX param 8045 \"" + PAN +
           "=9912\" param 8052 \"" + PAN + "\" param 8055 \"" + NAME + "\" param 8054 hex 5A08" +
           PAN + "\n";
}

// Runs a capture and a swipe and returns the trace.
std::string traceOf(const std::string &fault, const Arguments &options) {
    const TemporaryFile scenario(customer(fault));
    const TemporaryFile trace;
    Arguments arguments = {
        "--simulate", scenario.path(), "--trace-plain", "--trace=" + trace.path(), "session",
        "-",          "--keep-going"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    run(arguments, "capture\nevent\n");
    return tool::settledTrace(trace.content());
}

void expectNone(const std::string &trace) {
    // Four characters in a row are enough to know a piece of a secret by.
    for (const std::string secret : {TYPED, PAN, NAME}) {
        for (std::size_t at = 0; at + 4 <= secret.size(); ++at) {
            const std::string piece = secret.substr(at, 4);
            EXPECT_THAT(trace, Not(HasSubstr(piece)));
            EXPECT_THAT(trace, Not(HasSubstr(hexOf(piece))));
        }
    }
    EXPECT_THAT(trace, Not(HasSubstr("9F 8E 7D 6C")));
    EXPECT_THAT(trace, Not(HasSubstr("9F8E7D6C")));
}

struct Line {
    const char *name;
    const char *fault;
};

class SecretsOfTheTool : public testing::TestWithParam<Line> {};

TEST_P(SecretsOfTheTool, AreNotInAPlainTrace) {
    const std::string trace = traceOf(GetParam().fault, {});
    EXPECT_THAT(trace, HasSubstr("-> GCD"));
    expectNone(trace);
}

TEST_P(SecretsOfTheTool, AreNotInASecureTrace) {
    const std::string trace = traceOf(GetParam().fault, {"--secure"});
    EXPECT_THAT(trace, HasSubstr("encrypted"));
    expectNone(trace);
}

INSTANTIATE_TEST_SUITE_P(
    Trace, SecretsOfTheTool,
    testing::Values(Line{"Quiet", ""}, Line{"BadCrc", "fault response GCD nth 1 bad-crc"},
                    Line{"DroppedByte", "fault response GCD nth 1 drop 8"},
                    Line{"WrongLength", "reply GCD body \"GCD00099983917264\""},
                    Line{"OtherStatus", "reply GCD body \"GCD01383917264\""},
                    Line{"OtherAnswer", "reply GCD body \"XYZ00083917264\""},
                    Line{"NoAnswer", "reply GCD body \"8391726483917264\""},
                    Line{"Noise", "fault response GCD nth 1 prefix 3833393137323634"},
                    Line{"Tail", "fault response GCD nth 1 suffix 3833393137323634"},
                    Line{"Twice", "fault response GCD nth 1 twice"},
                    Line{"UnmarkedClear", "fault secure GCD plain"},
                    Line{"BadPayload", "fault secure GCD bad-datacrc"}),
    [](const testing::TestParamInfo<Line> &param) { return std::string(param.param.name); });

TEST(SecretsOfTheTool, AreShownWhenAskedFor) {
    for (const Arguments &options :
         {Arguments{"--trace-secrets"}, Arguments{"--trace-secrets", "--secure"}}) {
        const std::string trace = traceOf("", options);
        EXPECT_THAT(trace, HasSubstr(TYPED));
        EXPECT_THAT(trace, HasSubstr(hexOf(TYPED)));
        EXPECT_THAT(trace, HasSubstr(std::string("PP_PAN \"") + PAN + "\""));
        EXPECT_THAT(trace, HasSubstr(std::string("PP_CHNAME \"") + NAME + "\""));
        EXPECT_THAT(trace, Not(HasSubstr("masked")));
    }
}

TEST(SecretsOfTheTool, TheKeyExchangeIsMasked) {
    const std::string trace = traceOf("", {"--secure"});
    EXPECT_THAT(trace, HasSubstr("encrypted session key masked"));
    EXPECT_THAT(trace, HasSubstr("** (512 bytes)"));
    EXPECT_THAT(trace, HasSubstr("modulus 512 bytes"));
    EXPECT_THAT(trace, Not(HasSubstr(hexOf(KEY))));
}

TEST(SecretsOfTheTool, AreMaskedOnStandardErrorToo) {
    const TemporaryFile scenario(customer(""));
    const Outcome outcome = run({"--simulate", scenario.path(), "capture", "--trace"});
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_THAT(outcome.err, HasSubstr("PP_VALUE masked"));
    expectNone(outcome.err);
}

TEST(SecretsOfTheTool, WhatCardsHoldIsMaskedHoweverItComes) {
    for (const std::string fault :
         {"", "fault response MF03 drop 20", "fault response MF03 prefix 3833393137323634",
          "reply MF03 id MF99", "fault ack MF02 nak"}) {
        const TemporaryFile scenario(
            "mifare uid 83917264 key A * 839172648391 block 4 83917264839172648391726483917264\n" +
            fault);
        const Outcome outcome = run({"--simulate", scenario.path(), "mifare", "read", "4", "--key",
                                     "A:839172648391", "--trace", "--trace-plain"});
        EXPECT_THAT(outcome.err, HasSubstr("-> MF02")) << fault;
        expectNone(outcome.err);
    }
}

constexpr char CARD_KEY[] = "9F8E7D6C5B4A";

// A failure of the library, told as the tool tells it, in text or as JSON.
std::string toldOf(const std::function<void()> &call, bool asJson) {
    cli::Settings settings;
    settings.json = asJson;
    cli::Output output(settings);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    try {
        cli::callLibrary(cli::Stage::Command, call);
    } catch (const cli::LibraryFailure &) {
        output.problem(std::current_exception());
    }
    const std::string out = testing::internal::GetCapturedStdout();
    return out + testing::internal::GetCapturedStderr();
}

TEST(SecretsOfTheTool, KeysAreNotInTheFailureThatHoldsThem) {
    const sim::Simulator device;
    AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
    char status[3];
    for (const std::string &key :
         {CARD_KEY + std::string("F"), std::string(CARD_KEY).substr(0, 11),
          CARD_KEY + std::string(400, 'F'), CARD_KEY + std::string(" (exact: 12) ") + CARD_KEY}) {
        const std::function<void()> calls[] = {
            [&] { abecs_mf_authenticate(pinpad.get(), 4, 'A', key.c_str(), "1", status); },
            [&] {
                abecs_mf_block_config_set(pinpad.get(), 4, key.c_str(), CARD_KEY, "000", status);
            },
            [&] {
                abecs_mf_block_config_set(pinpad.get(), 4, CARD_KEY, key.c_str(), "000", status);
            },
            [&] { abecs_mf_key_change(pinpad.get(), 4, key.c_str(), CARD_KEY, status); },
            [&] { abecs_mf_key_change(pinpad.get(), 4, CARD_KEY, key.c_str(), status); }};
        for (const auto &call : calls) {
            for (const bool asJson : {false, true}) {
                const std::string told = toldOf(call, asJson);
                EXPECT_THAT(told, testing::ContainsRegex("Invalid size for szKey[AB]?: masked"));
                EXPECT_THAT(told, Not(HasSubstr("9F8E")));
                EXPECT_THAT(told, Not(HasSubstr("FFFF")));
            }
        }
    }
}

TEST(SecretsOfTheTool, KeysInTheWrongPlaceAreNotRepeated) {
    const std::string marked = std::string("A:") + CARD_KEY;
    for (const Arguments &arguments :
         {Arguments{"mifare", "auth", "4", marked}, Arguments{"mifare", "auth", "4", CARD_KEY},
          Arguments{"mifare", "read", "4", "--kee", marked}, Arguments{"mifare", "read", marked},
          Arguments{"mifare", "read", "4", "--kee=" + marked}, Arguments{marked},
          Arguments{"mifare", CARD_KEY}, Arguments{"mifare", "value", "4", marked},
          Arguments{"mifare", "value", "4", "get", marked},
          Arguments{"mifare", "auth", "4", "--key", "C:9F8E7D6C5B4A"},
          Arguments{"mifare", "keys", "4", "--key-a", "9F8E7D6C5B4AF", "--key-b", CARD_KEY},
          Arguments{"mifare", "auth", "4", "A:9F8E7D6C5B"},
          Arguments{"mifare", "auth", "4", "A:OOZ9F8E7D6C5"},
          Arguments{"mifare", "auth", "4", "B:9F8E7DGC5B4A"},
          Arguments{"mifare", "auth", "4", "9F8E7D6C5BA"},
          Arguments{"mifare", "auth", "4", "O9F8E7D6C5BA"}}) {
        Arguments alone = arguments;
        alone.emplace_back("--simulate");
        std::string line;
        for (const std::string &argument : arguments) {
            line += argument + " ";
        }
        for (const Outcome &outcome : {run(alone), run({"--simulate", "session"}, line + "\n"),
                                       run({"--simulate", "session", "--json"}, line + "\n")}) {
            EXPECT_EQ(outcome.exit, 2) << line;
            EXPECT_THAT(outcome.out + outcome.err, Not(HasSubstr("9F8E"))) << line;
        }
    }
}

TEST(SecretsOfTheTool, TraceFilesAreTheOwnersAlone) {
    const TemporaryFile trace;
    ASSERT_EQ(::chmod(trace.path().c_str(), 0644), 0);
    EXPECT_EQ(run({"--simulate", "open", "--trace=" + trace.path()}).exit, 0);
    struct stat status {};
    ASSERT_EQ(::stat(trace.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(SecretsOfTheTool, ATraceFollowsNoLink) {
    const tool::Folder folder;
    folder.write("precious", "precious");
    std::filesystem::create_symlink("precious", folder.path() + "/link");
    const Outcome outcome = run({"--simulate", "open", "--trace=" + folder.path() + "/link"});
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.err,
              "Cannot write the trace to " + folder.path() + "/link: it is a symbolic link.\n");
    EXPECT_EQ(tool::readFile(folder.path() + "/precious"), "precious");

    std::filesystem::create_symlink("missing", folder.path() + "/dangling");
    EXPECT_EQ(run({"--simulate", "open", "--trace=" + folder.path() + "/dangling"}).exit, 2);
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/missing"));
}

TEST(SecretsOfTheTool, ATraceIsNotWrittenIntoAFileOfTwoNames) {
    const tool::Folder folder;
    folder.write("precious", "precious");
    std::filesystem::create_hard_link(folder.path() + "/precious", folder.path() + "/second");
    const Outcome outcome = run({"--simulate", "open", "--trace=" + folder.path() + "/second"});
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.err, "Cannot write the trace to " + folder.path() +
                               "/second: the file has another name as well.\n");
    EXPECT_EQ(tool::readFile(folder.path() + "/precious"), "precious");
}

TEST(SecretsOfTheTool, ATraceWaitsForNoReaderOfAPipe) {
    const tool::Folder folder;
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const Outcome outcome = run({"--simulate", "open", "--trace=" + pipe});
    EXPECT_EQ(outcome.exit, 2);
    EXPECT_EQ(outcome.err,
              "Cannot write the trace to " + pipe + ": nothing reads from this pipe.\n");
}

TEST(SecretsOfTheTool, ATraceGoesIntoAPipeOfOnesOwn) {
    const tool::Folder folder;
    const Outcome outcome =
        folder.shell("mkfifo pipe && { cat pipe >copy & exec 3>pipe; "
                     "pinpad --simulate open --trace-plain --trace=pipe; exec 3>&-; wait; }");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_THAT(tool::readFile(folder.path() + "/copy"), testing::StartsWith("-> CAN"));
}

TEST(SecretsOfTheTool, ATraceIsNotWrittenIntoTheFileOfSomebodyElse) {
    if (::geteuid() != 0) {
        GTEST_SKIP()
            << "\nNot run: a trace into the file of somebody else: only root can give files away";
    }
    const tool::Folder folder;
    const std::string file = folder.path() + "/file";
    const std::string pipe = folder.path() + "/pipe";
    folder.write("file", "precious");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0666), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    for (const std::string &path : {file, pipe}) {
        ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
        ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
        const Outcome outcome = run({"--simulate", "open", "--trace=" + path});
        EXPECT_EQ(outcome.exit, 2);
        EXPECT_EQ(outcome.err,
                  "Cannot write the trace to " + path + ": it belongs to somebody else.\n");
    }
    ::close(reader);
    EXPECT_EQ(tool::readFile(file), "precious");
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U);
}

TEST(SecretsOfTheTool, ATraceReplacesTheOneBefore) {
    const TemporaryFile trace(std::string(100000, 'x'));
    EXPECT_EQ(run({"--simulate", "open", "--trace-plain", "--trace=" + trace.path()}).exit, 0);
    EXPECT_THAT(trace.content(), testing::StartsWith("-> CAN"));
    EXPECT_THAT(trace.content(), Not(HasSubstr("xxx")));
    EXPECT_EQ(run({"--simulate", "open", "--trace=/dev/null"}).exit, 0);
}

} // namespace
