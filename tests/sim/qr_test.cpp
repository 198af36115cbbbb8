#include "sim/qr_matrix.h"
#include "sim/simulator.h"
#include "tests/sim/ext_host.h"

#include <ZXing/DecodeHints.h>
#include <ZXing/ReadBarcode.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using testing::ElementsAre;

// The QR01 command for a line of text and a code; without a time limit.
std::string show(const std::string &line, const std::string &text,
                 const std::string &seconds = "000") {
    return "QR01" + seconds + "0" + number(line.size(), 2) + number(text.size(), 4) + line + text;
}

// What another program reads of the modules, drawn as a picture with its quiet zone.
std::string decode(const std::vector<std::string> &modules) {
    constexpr std::size_t quiet = 4;
    constexpr std::size_t scale = 4;
    constexpr std::uint8_t light = 0xFF;
    const std::size_t side = (modules.size() + 2 * quiet) * scale;
    Bytes picture(side * side, light);
    for (std::size_t y = quiet * scale; y < side - quiet * scale; ++y) {
        for (std::size_t x = quiet * scale; x < side - quiet * scale; ++x) {
            if (modules.at(y / scale - quiet).at(x / scale - quiet) == '1')
                picture.at(y * side + x) = 0;
        }
    }
    const int size = static_cast<int>(side);
    const ZXing::DecodeHints hints =
        ZXing::DecodeHints().setFormats(ZXing::BarcodeFormat::QRCode).setIsPure(true);
    const ZXing::Result found =
        ZXing::ReadBarcode({picture.data(), size, size, ZXing::ImageFormat::Lum}, hints);
    return {found.bytes().begin(), found.bytes().end()};
}

TEST(QrMatrix, SaysItsTextToAnotherReader) {
    std::string every_byte;
    for (unsigned byte = 0; byte < 256; ++byte)
        every_byte.push_back(static_cast<char>(byte));
    for (const std::string &text :
         {std::string("A"), std::string("https://example.com/pay?id=42&amount=10.50"),
          std::string("00020126580014br.gov.bcb.pix0136"), every_byte, std::string(2000, 'x')})
        EXPECT_EQ(decode(sim::qr_matrix(text)), text);
}

TEST(QrMatrix, IsSquareAndGrowsWithTheText) {
    const auto small = sim::qr_matrix("A");
    EXPECT_EQ(small.size(), 21U);
    for (const std::string &row : small)
        EXPECT_EQ(row.size(), small.size());
    EXPECT_GT(sim::qr_matrix(std::string(100, 'A')).size(), small.size());
}

TEST(QrMatrix, IsEmptyForWhatNoCodeHolds) {
    EXPECT_TRUE(sim::qr_matrix("").empty());
    EXPECT_TRUE(sim::qr_matrix(std::string(3000, 'x')).empty());
    EXPECT_FALSE(sim::qr_matrix(std::string(2900, 'x')).empty());
}

TEST(QrCommand, ShowsTheLineAndACodeThatSaysTheText) {
    sim::Simulator device("qrcode live");
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, show("SCAN TO PAY", "pay:12.34")));
    ASSERT_TRUE(device.wait_pending("QR01"));
    const sim::Snapshot shown = device.snapshot();
    EXPECT_THAT(shown.display, ElementsAre("SCAN TO PAY"));
    EXPECT_EQ(shown.qr_text, "pay:12.34");
    EXPECT_EQ(decode(shown.qr_modules), "pay:12.34");
    device.press_key(sim::Key::enter);
    EXPECT_EQ(ext_answer(host), "QR010");
    EXPECT_TRUE(device.snapshot().qr_modules.empty());
    EXPECT_TRUE(device.snapshot().display.empty());
}

TEST(QrCommand, IsAnsweredAsTheCustomerActs) {
    sim::SimulatorOptions fast;
    fast.time_scale = 100;
    sim::Simulator device("qrcode enter\nqrcode cancel\nqrcode timeout\nqrcode wait 50 enter\n"
                          "qrcode answer \"7\"\nqrcode answer hex 4100",
                          fast);
    Host host(device.port());
    for (const std::string expected : {"0", "1", "2", "0", "7"})
        EXPECT_EQ(ext_ask(host, show("", "x")), "QR01" + expected);
    EXPECT_EQ(ext_ask(host, show("", "x")), std::string("QR01A\0", 6));
}

TEST(QrCommand, EndsWhenItsTimeIsOver) {
    sim::SimulatorOptions fast;
    fast.time_scale = 20;
    sim::Simulator device("", fast);
    Host host(device.port());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ext_ask(host, show("", "x", "002")), "QR012");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(100));
    EXPECT_EQ(device.snapshot().last_answer, "2");
}

TEST(QrCommand, TakesAnEmptyTextAndRefusesWhatFitsNoCode) {
    sim::Simulator device("qrcode * enter");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, show("", "")), "QR010");
    EXPECT_EQ(ext_ask(host, show("", std::string(3000, 'x'))), "QR019");
}

TEST(QrCommand, RefusesWhatIsMalformed) {
    sim::Simulator device;
    Host host(device.port());
    for (const std::string body :
         {"QR01", "QR010000", "QR010003000001x", "QR01000000000", "QR010000000002x",
          "QR010000000001xy", "QR01a000000001x", "QR010000050001x"})
        EXPECT_EQ(ext_ask(host, body), "QR019") << body;
    EXPECT_EQ(device.snapshot().qr_text, "");
}

TEST(QrCommand, DoesNotHeedTheHostsEot) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, show("", "x")));
    ASSERT_TRUE(device.wait_pending("QR01"));
    host.write_byte(eot);
    EXPECT_TRUE(host.read_all().empty());
    EXPECT_EQ(device.snapshot().pending_command, "QR01");
}

} // namespace
