#include "tests/cli/tool.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using tool::Arguments;
using tool::run;
using tool::TemporaryFile;

struct Recording {
    const char *name;
    const char *scenario;
    Arguments arguments;
    const char *input = "";
};

void PrintTo(const Recording &recording, std::ostream *out) {
    *out << recording.name;
}

std::string goldenPath(const std::string &name) {
    return std::filesystem::path(PINPAD_GOLDEN_DIR) / (name + ".trace");
}

class Golden : public testing::TestWithParam<Recording> {};

// With PINPAD_RECORD in the environment the files are written anew instead; look at what changed.
TEST_P(Golden, TraceIsAsRecorded) {
    const Recording &recording = GetParam();
    const TemporaryFile scenario(recording.scenario);
    const TemporaryFile trace;
    Arguments arguments = {"--simulate", scenario.path(), "--trace-plain",
                           "--trace=" + trace.path()};
    arguments.insert(arguments.end(), recording.arguments.begin(), recording.arguments.end());
    run(arguments, recording.input);

    const std::string path = goldenPath(recording.name);
    const std::string text = tool::settledTrace(trace.content());
    if (std::getenv("PINPAD_RECORD") != nullptr) {
        std::ofstream(path) << text;
    }
    EXPECT_EQ(text, tool::readFile(path));
}

INSTANTIATE_TEST_SUITE_P(
    Trace, Golden,
    testing::Values(
        Recording{"open", "", {"open"}},
        Recording{
            "open_secure", "session-key 000102030405060708090A0B0C0D0E0F", {"open", "--secure"}},
        Recording{"capture",
                  "capture notify \"DIGITE O CPF\" keys 12345678901 enter",
                  {"capture", "--prompt", "3", "--min", "5", "--max", "11", "--wait", "30"}},
        Recording{"capture_secure",
                  "session-key 000102030405060708090A0B0C0D0E0F\ncapture keys 12345 enter",
                  {"capture", "--secure"}},
        Recording{"capture_cancelled", "capture cancel", {"capture"}},
        Recording{"capture_timeout", "capture live", {"capture", "--timeout", "0.1"}},
        Recording{"capture_stuffed", "capture keys 1 enter", {"capture", "--prompt", "4886"}},
        Recording{"capture_damaged",
                  "capture keys 12345 enter\nfault response GCD nth 1 bad-crc",
                  {"capture"}},
        Recording{"display_rejected", "fault ack DEX nak", {"display", "OL\xC3\x81\\nMUNDO"}},
        Recording{"display_stray_answer", "fault ack DEX byte 41", {"display", "A"}},
        Recording{"display_silent", "fault ack DEX silent", {"display", "A"}},
        Recording{"event",
                  "card gold track1 \"B4000^A\" track2 \"4000=99\"\nevent swipe gold",
                  {"event", "--options", "110000", "--number", "30", "--pair", "5,30"}},
        Recording{"media",
                  "media LOGO text \"x\"",
                  {"session"},
                  "image LOGO\nplay LOGO LOGO\nmedia list\nimage OTHER\n"},
        Recording{"mifare",
                  "mifare uid 11223344 value 4 1000",
                  {"session", "--keep-going"},
                  "mifare read 4\n"
                  "mifare read 4 --key A:FFFFFFFFFFFF\n"
                  "mifare write 5 00112233 --from 4\n"
                  "mifare value 4 get\n"
                  "mifare value 4 set 7\n"
                  "mifare value 4 add 5\n"
                  "mifare value 4 copy --to 6\n"
                  "mifare config 4\n"
                  "mifare config 4 --set 100 --key-a FFFFFFFFFFFF --key-b B0B1B2B3B4B5\n"
                  "mifare keys 4 --key-a A0A1A2A3A4A5 --key-b B0B1B2B3B4B5\n"},
        Recording{"mifare_damaged", "fault response MF01 nth 1 bad-crc", {"mifare", "activate"}},
        Recording{"qr", "qrcode enter", {"qr", "OL\xC3\x81", "--line", "PAGUE", "--wait", "60"}},
        Recording{"qr_error", "qrcode enter\nreply QR01 err", {"qr", "A"}},
        Recording{"survey", "survey press 3", {"survey", "COMO FOI?", "1 A 4"}},
        Recording{"survey_stopped", "survey live", {"survey", "NOTA?", "--stop-after", "0"}},
        Recording{"cxsurvey", "cxsurvey press 7", {"cxsurvey", "NOTA?", "--score-type", "4"}},
        Recording{"close_extended",
                  "media LOGO text \"x\"",
                  {"close", "FECHADO\\nVOLTE AMANH\xC3\x83", "--media", "LOGO"}}),
    [](const testing::TestParamInfo<Recording> &param) { return std::string(param.param.name); });

TEST(GoldenLoad, RecordsAreShown) {
    const TemporaryFile file("OLA\x13MUNDO");
    const TemporaryFile trace;
    run({"--simulate", "media", "load", file.path(), "--as", "ola", "--type", "2", "--trace-plain",
         "--trace=" + trace.path()});
    const std::string path = goldenPath("media_load");
    if (std::getenv("PINPAD_RECORD") != nullptr) {
        std::ofstream(path) << trace.content();
    }
    EXPECT_EQ(trace.content(), tool::readFile(path));
}

} // namespace
