#include "cli/qr_code.h"
#include "cli/qr_drawing.h"
#include "sim/qr_matrix.h"
#include "sim/simulator.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace {

using cli::QrModules;
using testing::HasSubstr;
using tool::Arguments;
using tool::Outcome;
using tool::run;
using tool::Tool;

constexpr std::chrono::seconds PATIENCE{20};
constexpr std::size_t QUIET = 4;

// The modules that a drawing shows; its quiet zone is checked and left out.
QrModules readDrawing(const std::vector<std::string> &lines) {
    const std::pair<std::string, std::string> blocks[] = {
        {"\xE2\x96\x88", "11"}, {"\xE2\x96\x80", "10"}, {"\xE2\x96\x84", "01"}, {" ", "00"}};
    QrModules rows;
    for (const std::string &line : lines) {
        std::string upper;
        std::string lower;
        for (std::size_t at = 0; at < line.size();) {
            bool known = false;
            for (const auto &[shown, modules] : blocks) {
                if (line.compare(at, shown.size(), shown) == 0) {
                    upper += modules[0];
                    lower += modules[1];
                    at += shown.size();
                    known = true;
                    break;
                }
            }
            if (!known) {
                ADD_FAILURE() << "not a block: " << line.substr(at);
                return {};
            }
        }
        rows.push_back(upper);
        rows.push_back(lower);
    }
    const std::size_t size = rows.empty() ? 0 : rows.front().size();
    QrModules inner;
    for (std::size_t y = 0; y < rows.size(); ++y) {
        const bool isQuiet = y < QUIET || y >= size - QUIET;
        if (isQuiet) {
            EXPECT_EQ(rows[y], std::string(size, '0'));
        } else {
            EXPECT_EQ(rows[y].substr(0, QUIET) + rows[y].substr(size - QUIET),
                      std::string(2 * QUIET, '0'));
            inner.push_back(rows[y].substr(QUIET, size - 2 * QUIET));
        }
    }
    return inner;
}

TEST(QrDrawing, ShowsTheModulesOfTheCode) {
    for (const std::string &text : {std::string("A"), std::string("https://example.com/pay/4711"),
                                    std::string("OL\xC1 MUNDO"), std::string(2030, 'x')}) {
        const QrModules modules = cli::makeQrCode(text);
        ASSERT_FALSE(modules.empty());
        EXPECT_EQ(modules, sim::qr_matrix(text));
        EXPECT_EQ(readDrawing(cli::drawQrCode(modules, cli::Ink::OfText)), modules);
    }
}

TEST(QrDrawing, IsBlackOnWhiteWhenTold) {
    const QrModules modules = {"10", "11"};
    const std::vector<std::string> plain = cli::drawQrCode(modules, cli::Ink::OfText);
    const std::vector<std::string> black = cli::drawQrCode(modules, cli::Ink::Black);
    EXPECT_EQ(cli::qrColumns(modules), 10U);
    ASSERT_EQ(plain.size(), 5U);
    EXPECT_EQ(plain[2], "    \xE2\x96\x88\xE2\x96\x84    ");
    EXPECT_EQ(black[2], "\x1b[30;47m" + plain[2] + "\x1b[0m");
}

TEST(QrDrawing, OfNothingIsNothing) {
    EXPECT_EQ(cli::makeQrCode(""), QrModules());
    EXPECT_EQ(cli::makeQrCode(std::string(3000, 'x')), QrModules());
    EXPECT_EQ(cli::drawQrCode({}, cli::Ink::Black), std::vector<std::string>());
    EXPECT_EQ(cli::qrColumns({}), 0U);
}

TEST(Qr, ShowsTheSameCodeOnTheDeviceAndHere) {
    sim::Simulator device("qrcode live");
    Tool qr({"--port", device.port(), "qr", "OL\xC3\x81", "--line", "PAGUE", "--line-type", "2",
             "--wait", "60"});
    ASSERT_TRUE(device.wait_pending("QR01", PATIENCE));
    const sim::Snapshot shown = device.snapshot();
    device.press_key(sim::Key::cancel);
    const Outcome outcome = qr.finish();
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    std::vector<std::string> lines = tool::linesOf(outcome.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "Result: 1");
    lines.pop_back();
    EXPECT_EQ(shown.qr_text, "OL\xC1");
    EXPECT_EQ(readDrawing(lines), shown.qr_modules);
    const sim::Bytes body = device.commands()[1];
    EXPECT_EQ(std::string(body.begin(), body.end()), "QR010602050003PAGUEOL\xC1");
    EXPECT_FALSE(device.snapshot().open);
}

TEST(Qr, ForProgramsTellsTheResultOnly) {
    const Outcome outcome = run({"--simulate", "--json", "qr", "A"});
    EXPECT_EQ(outcome.out, "{\"command\":\"qr\",\"exit\":0,\"result\":\"0\"}\n");
}

TEST(Qr, OnATerminalIsBlackOnWhite) {
    Tool qr({"--simulate", "qr", "A"}, tool::Terminal::All);
    EXPECT_THAT(qr.finish().out, HasSubstr("\x1b[30;47m"));
}

TEST(Qr, TimeoutAndInterruptAbortIt) {
    sim::Simulator device("qrcode * live");
    const Outcome slow = run({"--port", device.port(), "--timeout", "0.1", "qr", "A"});
    EXPECT_EQ(slow.exit, 5);
    EXPECT_FALSE(device.snapshot().open);

    Tool qr({"--port", device.port(), "qr", "A"});
    ASSERT_TRUE(device.wait_pending("QR01", PATIENCE));
    const std::size_t abortsBefore = device.snapshot().aborts;
    qr.signal(SIGINT);
    EXPECT_EQ(qr.finish().exit, 130);
    EXPECT_FALSE(device.snapshot().waiting);
    EXPECT_FALSE(device.snapshot().open);
    EXPECT_EQ(device.snapshot().aborts, abortsBefore + 1);
}

TEST(Qr, WrongArgumentsSendNothing) {
    for (const Arguments &arguments :
         {Arguments{"qr"}, Arguments{"qr", "A", "--line", std::string(21, 'x')},
          Arguments{"qr", "A", "--line-type", "3"}, Arguments{"qr", "A", "--wait", "1000"},
          Arguments{"qr", std::string(2031, 'x')}, Arguments{"qr", "10 \xE2\x82\xAC"},
          Arguments{"qr", "A\\nB"}, Arguments{"qr", std::string(2030, 'x'), "--line", "A"}}) {
        Arguments all = {"--port", "none"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Outcome outcome = run(all);
        EXPECT_EQ(outcome.exit, 2) << arguments.back();
    }
}

} // namespace
