#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

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

class Secrets : public testing::TestWithParam<Line> {};

TEST_P(Secrets, AreNotInAPlainTrace) {
    const std::string trace = traceOf(GetParam().fault, {});
    EXPECT_THAT(trace, HasSubstr("-> GCD"));
    expectNone(trace);
}

TEST_P(Secrets, AreNotInASecureTrace) {
    const std::string trace = traceOf(GetParam().fault, {"--secure"});
    EXPECT_THAT(trace, HasSubstr("encrypted"));
    expectNone(trace);
}

INSTANTIATE_TEST_SUITE_P(
    Trace, Secrets,
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

TEST(Secrets, AreShownWhenAskedFor) {
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

TEST(Secrets, TheKeyExchangeIsMasked) {
    const std::string trace = traceOf("", {"--secure"});
    EXPECT_THAT(trace, HasSubstr("encrypted session key masked"));
    EXPECT_THAT(trace, HasSubstr("** (512 bytes)"));
    EXPECT_THAT(trace, HasSubstr("modulus 512 bytes"));
    EXPECT_THAT(trace, Not(HasSubstr(hexOf(KEY))));
}

TEST(Secrets, AreMaskedOnStandardErrorToo) {
    const TemporaryFile scenario(customer(""));
    const Outcome outcome = run({"--simulate", scenario.path(), "capture", "--trace"});
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_THAT(outcome.err, HasSubstr("PP_VALUE masked"));
    expectNone(outcome.err);
}

TEST(Secrets, WhatCardsHoldIsMaskedHoweverItComes) {
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

TEST(Secrets, TraceFilesAreTheOwnersAlone) {
    const TemporaryFile trace;
    ASSERT_EQ(::chmod(trace.path().c_str(), 0644), 0);
    EXPECT_EQ(run({"--simulate", "open", "--trace=" + trace.path()}).exit, 0);
    struct stat status {};
    ASSERT_EQ(::stat(trace.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(Secrets, ATraceFollowsNoLink) {
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

TEST(Secrets, ATraceIsNotWrittenIntoTheFileOfSomebodyElse) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
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

TEST(Secrets, ATraceReplacesTheOneBefore) {
    const TemporaryFile trace(std::string(100000, 'x'));
    EXPECT_EQ(run({"--simulate", "open", "--trace-plain", "--trace=" + trace.path()}).exit, 0);
    EXPECT_THAT(trace.content(), testing::StartsWith("-> CAN"));
    EXPECT_THAT(trace.content(), Not(HasSubstr("xxx")));
    EXPECT_EQ(run({"--simulate", "open", "--trace=/dev/null"}).exit, 0);
}

} // namespace
