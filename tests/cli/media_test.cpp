#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <random>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using tool::Outcome;
using tool::run;
using tool::TemporaryFile;
using tool::Terminal;
using tool::Tool;

std::string noise(std::size_t size) {
    std::mt19937 generator(4711);
    std::string bytes;
    while (bytes.size() < size) {
        bytes += static_cast<char>(generator() & 0xFFU);
    }
    return bytes;
}

// CRC-16 with polynomial 1021, bit by bit.
std::uint16_t crcOf(const std::string &bytes) {
    unsigned crc = 0;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned>(static_cast<std::uint8_t>(byte)) << 8U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1U) ^ ((crc & 0x8000U) != 0 ? 0x1021U : 0U);
        }
        crc &= 0xFFFFU;
    }
    return static_cast<std::uint16_t>(crc);
}

TEST(MediaCommand, TwoMebibytesArriveUnharmed) {
    constexpr std::size_t SIZE = std::size_t{2} * 1024 * 1024;
    const std::string content = noise(SIZE);
    const TemporaryFile file(content);
    sim::SimulatorOptions options;
    options.keep_logs = false;
    sim::Simulator device("", options);

    const Outcome outcome = run({"--port", device.port(), "media", "load", file.path(), "--as",
                                 "film", "--type", "7", "--json"});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(json::parse(outcome.out)["bytes"], SIZE);
    EXPECT_EQ(json::parse(outcome.out)["name"], "FILM");

    const sim::Snapshot state = device.snapshot();
    const sim::MediaFile *stored = state.find_media("FILM");
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->type, 7);
    EXPECT_EQ(stored->crc, crcOf(content));
    EXPECT_TRUE(std::string(stored->content.begin(), stored->content.end()) == content);

    EXPECT_EQ(run({"--port", device.port(), "media", "list"}).out, "FILM\n");
}

TEST(MediaCommand, ListTellsNames) {
    const TemporaryFile scenario("media A text \"a\"\nmedia B1 text \"b\"");
    EXPECT_EQ(run({"--simulate", scenario.path(), "media", "list"}).out, "A\nB1\n");
    const json told =
        json::parse(run({"--simulate", scenario.path(), "media", "list", "--json"}).out);
    EXPECT_EQ(told["media"], json({"A", "B1"}));
    EXPECT_EQ(run({"--simulate", "media", "list"}).out, "The PIN pad has no media files.\n");
}

TEST(MediaCommand, SeveralFilesAreLoadedUnderTheirNames) {
    const TemporaryFile first("one");
    const TemporaryFile second("two");
    sim::Simulator device;
    const Outcome outcome = run({"--port", device.port(), "media", "load", first.path(),
                                 second.path(), "--as", "A", "--as", "B"});
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    const sim::Snapshot state = device.snapshot();
    ASSERT_NE(state.find_media("A"), nullptr);
    ASSERT_NE(state.find_media("B"), nullptr);
    EXPECT_EQ(state.find_media("B")->content, (sim::Bytes{'t', 'w', 'o'}));
}

TEST(MediaCommand, NamesThatDoNotFitAreRefusedBeforeAnythingIsOpened) {
    const TemporaryFile file("x");
    const Outcome tooLong = run({"--simulate", "media", "load", file.path()});
    EXPECT_EQ(tooLong.exit, 2);
    EXPECT_THAT(tooLong.err, HasSubstr("Give one with --as"));
    const Outcome tooFew =
        run({"--simulate", "media", "load", file.path(), file.path(), "--as", "A"});
    EXPECT_EQ(tooFew.exit, 2);
    EXPECT_THAT(tooFew.err, HasSubstr("once for each file"));
}

TEST(MediaCommand, ARefusalInTheMiddleIsARefusal) {
    const TemporaryFile file(noise(3000));
    const TemporaryFile scenario("status MLR 102 nth 2");
    const Outcome outcome =
        run({"--simulate", scenario.path(), "media", "load", file.path(), "--as", "A"});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(outcome.err, HasSubstr("ABECS_RSP_STAT_ST_MFERR"));
    const json told = json::parse(
        run({"--simulate", scenario.path(), "media", "load", file.path(), "--as", "A", "--json"})
            .out);
    EXPECT_EQ(told["status"], 102);
    EXPECT_EQ(told["problem"], "refused");
}

TEST(MediaCommand, ProgressIsLinesWhereThereIsNoTerminal) {
    const TemporaryFile file(noise(9950));
    const Outcome outcome = run({"--simulate", "media", "load", file.path(), "--as", "A"});
    EXPECT_EQ(outcome.out, "Loaded " + file.path() + " as A, 9950 bytes.\n");
    EXPECT_THAT(tool::linesOf(outcome.err),
                ElementsAre(file.path() + ": 0% (0 of 9950 bytes)",
                            file.path() + ": 25% (2985 of 9950 bytes)",
                            file.path() + ": 50% (4975 of 9950 bytes)",
                            file.path() + ": 75% (7960 of 9950 bytes)",
                            file.path() + ": 100% (9950 of 9950 bytes)"));
}

TEST(MediaCommand, AnEmptyFileIsDoneAtOnce) {
    const TemporaryFile file;
    const Outcome outcome = run({"--simulate", "media", "load", file.path(), "--as", "A"});
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_THAT(tool::linesOf(outcome.err), ElementsAre(file.path() + ": 100% (0 of 0 bytes)"));
}

TEST(MediaCommand, ProgressIsABarOnATerminal) {
    const TemporaryFile file(noise(200000));
    Tool bar({"--simulate", "media", "load", file.path(), "--as", "A"}, Terminal::Error);
    const Outcome outcome = bar.finish();
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_EQ(outcome.out, "Loaded " + file.path() + " as A, 200000 bytes.\n");
    EXPECT_THAT(outcome.err, HasSubstr("\r" + file.path() + " [...."));
    EXPECT_THAT(outcome.err, HasSubstr("####] 100%"));
    EXPECT_THAT(outcome.err, HasSubstr("iB/s"));
    EXPECT_THAT(outcome.err, HasSubstr(" left"));
    EXPECT_EQ(tool::linesOf(outcome.err).size(), 1U) << outcome.err;
}

TEST(MediaCommand, ABarDoesNotMixWithATrace) {
    const TemporaryFile file(noise(2000));
    Tool traced({"--simulate", "media", "load", file.path(), "--as", "A", "--trace"},
                Terminal::Error);
    const Outcome outcome = traced.finish();
    EXPECT_THAT(outcome.err, HasSubstr(": 100% (2000 of 2000 bytes)"));
    EXPECT_THAT(outcome.err, testing::Not(HasSubstr("\x1b[K")));
}

} // namespace
