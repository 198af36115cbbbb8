#include "cli/output.h"
#include "tests/cli/tool.h"
#include "tests/support/obeyed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>

/// Nothing that a device or the name of a file brings is obeyed by the terminal of a technician.

namespace {

using nlohmann::json;
using testing::HasSubstr;
using tool::Arguments;
using tool::Outcome;

// The NUL stands last: texts of the library end with it.
std::string everyByte() {
    std::string bytes;
    for (unsigned value = 0x01; value <= 0x100; ++value) {
        bytes += static_cast<char>(value & 0xFFU);
    }
    return bytes;
}

// All bytes that the name of a file may have, in one name: 253 of the 255 that fit.
std::string everyNameByte() {
    std::string name;
    for (const char byte : everyByte()) {
        if (byte != '\0' && byte != '/') {
            name += byte;
        }
    }
    return name;
}

std::string hexOf(const std::string &bytes) {
    std::string hex;
    for (const char byte : bytes) {
        char two[4];
        std::snprintf(two, sizeof two, "%02X",
                      static_cast<unsigned>(static_cast<unsigned char>(byte)));
        hex += two;
    }
    return hex;
}

// What a terminal obeys of single bytes, and what is no UTF-8 alone. After a failure the session is
// opened again, which takes its time: where each piece is a failure these stand for all bytes.
std::string obeyedBytes() {
    std::string bytes;
    for (const char byte : everyByte()) {
        if (obeyed::in(std::string(1, byte)) != "" && static_cast<unsigned char>(byte) < 0xA0) {
            bytes += byte;
        }
    }
    return bytes + "\n";
}

// The bytes in pieces of a size; the last one is filled up with letters.
std::vector<std::string> piecesOf(std::size_t size, std::string bytes = everyByte()) {
    while (bytes.size() % size != 0) {
        bytes += 'x';
    }
    std::vector<std::string> pieces;
    for (std::size_t at = 0; at < bytes.size(); at += size) {
        pieces.push_back(bytes.substr(at, size));
    }
    return pieces;
}

std::string param(unsigned id, const std::string &value) {
    const std::string head = {static_cast<char>(id >> 8U), static_cast<char>(id & 0xFFU),
                              static_cast<char>(value.size() >> 8U),
                              static_cast<char>(value.size() & 0xFFU)};
    return head + value;
}

std::string block(const std::string &params) {
    char length[8];
    std::snprintf(length, sizeof length, "%03zu", params.size());
    return length + params;
}

void expectNothingObeyed(const Outcome &outcome) {
    EXPECT_EQ(obeyed::in(outcome.out), "") << outcome.out;
    EXPECT_EQ(obeyed::in(outcome.err), "") << outcome.err;
}

void expectJson(const std::string &output) {
    for (const std::string &line : tool::linesOf(output)) {
        EXPECT_TRUE(json::accept(line)) << line;
    }
}

// What a PIN pad answers to the commands of a script.
struct Play {
    std::string name;
    std::string customer; ///< lines of the scenario before the answers
    std::vector<std::string> answers;
    std::string command;
    std::string id;           ///< of the command that is answered
    std::string shown;        ///< what becomes of some of the bytes
    std::size_t times = 0;    ///< how often the command is given when no answers are
    std::string limit = "10"; ///< seconds for the customer of each command
};

void PrintTo(const Play &play, std::ostream *out) {
    *out << play.name;
}

// The scenario, and the script for it.
std::string scenarioOf(const Play &play) {
    std::string scenario = play.customer + "\n";
    for (std::size_t i = 0; i < play.answers.size(); ++i) {
        scenario += "reply " + play.id + " nth " + std::to_string(i + 1) + " body hex " +
                    hexOf(play.answers[i]) + "\n";
    }
    return scenario;
}

std::string scriptOf(const Play &play) {
    std::string script;
    for (std::size_t i = 0; i < std::max(play.times, play.answers.size()); ++i) {
        script += play.command + "\n";
    }
    return script;
}

std::vector<std::string> around(const std::string &before, const std::vector<std::string> &pieces,
                                const std::string &after = "") {
    std::vector<std::string> answers;
    for (const std::string &piece : pieces) {
        answers.push_back(before + piece + after);
    }
    return answers;
}

// Answers that hold one parameter.
std::vector<std::string> answers(const std::string &id, unsigned paramId,
                                 const std::vector<std::string> &values) {
    std::vector<std::string> answers;
    for (const std::string &value : values) {
        answers.push_back(id + "000" + block(param(paramId, value)));
    }
    return answers;
}

std::string linesFor(const std::string &before, const std::vector<std::string> &pieces) {
    std::string lines;
    for (const std::string &piece : pieces) {
        lines += before + hexOf(piece) + "\n";
    }
    return lines;
}

std::vector<Play> plays() {
    // ETX ends a frame of the extension wherever it stands.
    std::string carried = everyByte();
    carried.erase(carried.find('\x03'), 1);
    std::vector<std::string> notifications;
    for (const std::string &text : piecesOf(32)) {
        notifications.push_back("NTM000" + block(text));
    }
    const std::string card = "mifare uid 04A1B2C3";
    const std::vector<std::string> refused = piecesOf(3, obeyedBytes());
    return {
        {"Notification",
         linesFor("capture raw hex ", notifications),
         {},
         "capture",
         "GCD",
         "\\x9B\\x9C",
         notifications.size(),
         "1"},
        {"Answer", "capture * keys 1 enter", answers("GCD", 0x804D, piecesOf(16)), "capture", "GCD",
         "Typed: \\x81\\x82"},
        {"EventMap",
         "event * key enter",
         {"CEX000" +
          block(param(0x8040, "90") + param(0x8041, everyByte()) + param(0x8001, everyByte()))},
         "event",
         "CEX",
         "PP_SERNUM: \\x01\\x02"},
        {"EventCode", "event * key enter", answers("CEX", 0x8040, piecesOf(2)), "event", "CEX",
         "PP_EVENT 2 bytes"},
        {"MediaList", "", answers("LMF", 0x805E, piecesOf(8, obeyedBytes())), "media list", "LMF",
         "Invalid character (0x01)"},
        {"Identifier", "", around("", refused, "000"), "display A", "DEX", "unknown answer"},
        {"Status", "", around("DSI", refused), "image LOGO", "DSI", "without a known status"},
        {"Length", "", around("LMF000", refused, "x"), "media list", "LMF", "not understood"},
        {"CardStatus", card, around("MF01", piecesOf(2)), "mifare activate", "MF01",
         "answered \\x1B\\x1C to MF01"},
        {"CardIdentifier", card, around("", piecesOf(4, obeyedBytes()), "00"), "mifare activate",
         "MF01", "unknown answer"},
        {"SerialNumber",
         card,
         {"MF0100" + carried},
         "mifare activate",
         "MF01",
         "Card \\x01\\x02\\x04"},
        {"BlockData", card, {"MF0300" + carried}, "mifare read 4", "MF03", "\\x1A\\x1B"},
        {"BlockFlags", card, {"MF0500" + carried}, "mifare config 4", "MF05", "bits \\x01"},
        {"Survey",
         linesFor("survey answer hex ", piecesOf(2, carried)),
         {},
         "survey A",
         "EX08",
         "Answer: \\x1A",
         128},
        {"CxSurvey",
         linesFor("cxsurvey answer hex ", piecesOf(3, carried)),
         {},
         "cxsurvey A",
         "EX10",
         "Answer: \\x1A\\x1B\\x1C",
         85},
        {"QrResult",
         linesFor("qrcode answer hex ", piecesOf(1, carried)),
         {},
         "qr A",
         "QR01",
         "Result: \\x9B",
         255},
        {"Noise",
         "fault ack DEX garble 01\nfault response DEX prefix " + hexOf(everyByte()),
         {},
         "display A",
         "DEX",
         "thrown away",
         1},
    };
}

class Device : public testing::TestWithParam<Play> {};

TEST_P(Device, IsNotObeyed) {
    const tool::TemporaryFile scenario(scenarioOf(GetParam()));
    for (const char *style : {"--trace", "--json"}) {
        const Outcome outcome =
            tool::run({"--simulate", scenario.path(), style, "--trace-secrets", "--timeout",
                       GetParam().limit, "session", "--keep-going"},
                      scriptOf(GetParam()));
        expectNothingObeyed(outcome);
        // Something has been printed of every command.
        const std::string told = outcome.out + outcome.err;
        EXPECT_GE(tool::linesOf(told).size(),
                  std::max(GetParam().times, GetParam().answers.size()));
        if (std::string(style) == "--json") {
            expectJson(outcome.out);
        } else {
            EXPECT_THAT(told, HasSubstr(GetParam().shown));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Terminal, Device, testing::ValuesIn(plays()),
                         [](const testing::TestParamInfo<Play> &param) {
                             return param.param.name;
                         });

// A reset of the terminal in the place of two hexadecimal digits of the session key, and others.
TEST(Terminal, DoesNotObeyTheKeyBlock) {
    const std::vector<std::string> pairs = {"\x1B"
                                            "c",
                                            "\x9Bm", "\x7F\x08"};
    std::string scenario;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        scenario += "reply OPN nth " + std::to_string(i + 2) + " body hex " +
                    hexOf("OPN000515256" + pairs[i] + std::string(510, '0')) + "\n";
    }
    const tool::TemporaryFile file(scenario);
    // The first OPN opens the session, the close makes every other line open another.
    std::string script = "close\n";
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        script += "display A\n";
    }
    const Outcome outcome = tool::run(
        {"--simulate", file.path(), "--secure", "--trace", "session", "--keep-going"}, script);
    expectNothingObeyed(outcome);
    EXPECT_THAT(outcome.err, HasSubstr("Invalid data: \\x1Bc"));
    EXPECT_THAT(outcome.err, HasSubstr("Invalid data: \\x9Bm"));
    EXPECT_THAT(outcome.err, HasSubstr("Invalid data: \\x7F\\x08"));
}

// Where the standard streams of this process go, while it lives.
class Streams {
public:
    Streams()
        : m_outBefore(std::cout.rdbuf(m_out.rdbuf())), m_errBefore(std::cerr.rdbuf(m_err.rdbuf())) {
    }
    ~Streams() {
        std::cout.rdbuf(m_outBefore);
        std::cerr.rdbuf(m_errBefore);
    }
    Streams(const Streams &) = delete;
    Streams &operator=(const Streams &) = delete;

    Outcome outcome() const {
        Outcome outcome;
        outcome.out = m_out.str();
        outcome.err = m_err.str();
        return outcome;
    }

private:
    std::ostringstream m_out;
    std::ostringstream m_err;
    std::streambuf *m_outBefore;
    std::streambuf *m_errBefore;
};

template <typename Problem>
void tellProblem(cli::Output &output, const Problem &problem) {
    output.problem(std::make_exception_ptr(problem));
}

// Tells everything that holds these bytes.
void tellAll(cli::Output &output, const std::string &bytes) {
    for (const cli::Stage stage : {cli::Stage::Opening, cli::Stage::Command}) {
        for (int code = PCL_RESULT_RUNTIME_ERROR; code <= PCL_RESULT_CRYPT_ERROR; ++code) {
            tellProblem(output, cli::LibraryFailure{static_cast<PclResult_e>(code),
                                                    "[NAME] Invalid data: " + bytes, stage});
        }
    }
    tellProblem(output, cli::LibraryFailure{PCL_RESULT_IO_ERROR, "write() error: " + bytes,
                                            cli::Stage::Command});
    tellProblem(output, cli::CardRefused{"MF01", bytes});
    tellProblem(output, cli::UsageError("No: " + bytes));
    tellProblem(output, std::runtime_error("No: " + bytes));
    output.usage(bytes);
    output.unreadable(bytes);
    output.finishTrace(bytes, cli::ExitStatus::Done);
    output.result(bytes, cli::Json{{"text", bytes}, {"list", {bytes, {{"inside", bytes}}}}});
    output.happened(bytes, cli::Json{{"text", bytes}});
    output.lines({bytes, "A"}, cli::Json{{"text", bytes}});
}

TEST(Terminal, DoesNotObeyWhatAnyProblemOrResultHolds) {
    std::vector<std::string> texts = piecesOf(1);
    for (const std::string &bytes :
         {everyByte(), std::string("\xC2\x85"), std::string("\xED\xA0\x80"),
          std::string("\xF4\x90\x80\x80"), std::string("\xE0\x9F\xBF")}) {
        texts.push_back(bytes);
    }
    for (const std::string &bytes : texts) {
        for (const bool asJson : {false, true}) {
            cli::Settings settings;
            settings.json = asJson;
            settings.port = bytes;
            const Streams streams;
            cli::Output output(settings);
            output.setCommand("capture");
            output.setPlace(bytes, 7);
            tellAll(output, bytes);
            const Outcome outcome = streams.outcome();
            expectNothingObeyed(outcome);
            if (asJson) {
                expectJson(outcome.out);
            }
        }
    }
}

TEST(Terminal, ShowsTheLettersOfAFile) {
    const Outcome outcome =
        tool::run({"session", "/nowhere/\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80.pin", "--simulate"});
    EXPECT_EQ(outcome.err,
              "Cannot read the file: /nowhere/\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80.pin\n");
    const Outcome turned =
        tool::run({"session", "/nowhere/\xE2\x80\xAE\xE2\x80\xA8.pin", "--simulate"});
    EXPECT_EQ(turned.err, "Cannot read the file: /nowhere/\\u202E\\u2028.pin\n");
}

TEST(Terminal, JsonCarriesWhatItEscapes) {
    const std::string bytes = "A\x1B\x7F\x85\xE9";
    const tool::TemporaryFile scenario("reply MF01 body hex " + hexOf("MF0100" + bytes));
    const Outcome outcome =
        tool::run({"--simulate", scenario.path(), "mifare", "activate", "--json"});
    expectNothingObeyed(outcome);
    EXPECT_THAT(outcome.out, HasSubstr("A\\u001b\\u007f\\u0085\\u00e9"));
    EXPECT_EQ(json::parse(outcome.out)["serial"], "A\x1B\x7F\xC2\x85\xC3\xA9");
}

// Runs the tool with such a name wherever one may stand.
std::vector<Arguments> argumentsWith(const std::string &name, const std::string &file,
                                     const std::string &folder) {
    const std::string simulated = "--simulate";
    return {
        {"session", file, simulated},
        {"session", folder + "/none" + name.substr(8), simulated},
        {"session", folder, simulated},
        {"--simulate=" + file, "open"},
        {"--simulate=" + folder, "open"},
        {"--simulate=/nowhere/" + name, "open"},
        {"media", "load", file, "--as", "A", simulated},
        {"media", "load", file, simulated},
        {"media", "load", "/nowhere/" + name, simulated},
        {"media", "load", file, "--as", name, simulated},
        {"open", "--trace=/nowhere/" + name, simulated},
        {"open", "--trace=" + folder, simulated},
        {"open", "--port", name},
        {"open", "--port", file},
        {"open", "--port", name, simulated},
        {name},
        {"media", name},
        {"open", name, simulated},
        {"open", "--" + name, simulated},
        {"capture", "--min", name, simulated},
        {"capture", "--timeout", name, simulated},
        {"display", name, simulated},
        {"display", "A", "--idle-message", name, simulated},
        {"image", name, simulated},
        {"play", name, simulated},
        {"event", "--options", name, simulated},
        {"event", "--pair", name, simulated},
        {"mifare", "read", name, simulated},
        {"mifare", "read", "4", "--key", name, simulated},
        {"mifare", "value", "4", name, simulated},
        {"qr", name, simulated},
        {"survey", "A", "--code", name, simulated},
        {"survey", "A", "--stop-after", name, simulated},
        {"close", name, simulated},
    };
}

TEST(Terminal, DoesNotObeyTheNameOfAFile) {
    std::string turns = "turned";
    for (const std::string_view character : obeyed::TURNS_AND_BREAKS) {
        turns += character;
    }
    for (const std::string &name : {everyNameByte(), turns}) {
        const tool::Folder folder;
        const std::string inside = "inside" + name.substr(6);
        std::filesystem::create_directory(folder.path() + "/" + inside);
        folder.write(name, "image LOGO\n\x1B" + everyByte() + "\n");
        for (const Arguments &arguments :
             argumentsWith(name, folder.path() + "/" + name, folder.path() + "/" + inside)) {
            expectNothingObeyed(tool::run(arguments));
            Arguments asJson = arguments;
            asJson.emplace_back("--json");
            const Outcome outcome = tool::run(asJson);
            expectNothingObeyed(outcome);
            expectJson(outcome.out);
        }
    }
}

} // namespace
