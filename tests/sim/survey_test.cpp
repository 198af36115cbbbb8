#include "sim/simulator.h"
#include "tests/sim/ext_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using testing::ElementsAre;

// The EX08 command: two texts and buttons of this style.
std::string survey(char style, const std::string &top = "HOW WAS IT?",
                   const std::string &bottom = "THANK YOU", const std::string &seconds = "000") {
    return "EX080001" + seconds + style + "0" + number(top.size(), 3) + top + "0" +
           number(bottom.size(), 3) + bottom;
}

// The EX10 command with this type of score.
std::string cx_survey(char score, const std::string &limit = "000",
                      const std::string &idle = "000") {
    return std::string("EX1010") + score + limit + idle + "RATE US";
}

sim::SimulatorOptions fast() {
    sim::SimulatorOptions options;
    options.time_scale = 20;
    return options;
}

TEST(SurveyScreen, ShowsTextsAndButtons) {
    sim::Simulator device("survey live");
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, survey('8')));
    ASSERT_TRUE(device.wait_pending("EX08"));
    EXPECT_THAT(device.snapshot().display, ElementsAre("HOW WAS IT?", "THANK YOU"));
    EXPECT_EQ(device.snapshot().buttons, "12345678");
    device.press_button('9');
    EXPECT_EQ(device.snapshot().beeps, 1U);
    device.press_button('8');
    EXPECT_EQ(ext_answer(host), "EX0808");
    EXPECT_EQ(device.snapshot().buttons, "");
    EXPECT_EQ(device.snapshot().last_answer, "08");
    EXPECT_TRUE(device.snapshot().display.empty());
}

TEST(SurveyScreen, HasFourEightOrTwelveButtons) {
    sim::Simulator device("survey * live");
    Host host(device.port());
    const std::vector<std::pair<char, std::string>> styles{
        {'4', "1234"}, {'8', "12345678"}, {'C', "123456789ABC"}};
    for (const auto &[style, buttons] : styles) {
        ASSERT_TRUE(ext_start(host, survey(style)));
        ASSERT_TRUE(device.wait_pending("EX08"));
        EXPECT_EQ(device.snapshot().buttons, buttons);
        device.press_button(buttons.back());
        EXPECT_EQ(ext_answer(host), "EX080" + std::string(1, buttons.back()));
    }
}

TEST(SurveyScreen, ShowsPicturesOfTheStore) {
    sim::Simulator device("media LOGO text \"abc\"\nsurvey live");
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, "EX0800010004"
                                "1004LOGO"
                                "0002OK"));
    ASSERT_TRUE(device.wait_pending("EX08"));
    EXPECT_THAT(device.snapshot().shown_media, ElementsAre("LOGO"));
    EXPECT_THAT(device.snapshot().display, ElementsAre("OK"));
    device.press_button('1');
    EXPECT_EQ(ext_answer(host), "EX0801");
    EXPECT_EQ(ext_ask(host, "EX0800010004"
                            "1004NONE"
                            "0002OK"),
              "EX08E0");
}

TEST(SurveyScreen, IsAnsweredAsTheCustomerActs) {
    sim::Simulator device("survey press 3\nsurvey cancel\nsurvey timeout\nsurvey press 9 press 2\n"
                          "survey answer \"Z9\"",
                          fast());
    Host host(device.port());
    for (const std::string expected : {"03", "C0", "T0", "02", "Z9"})
        EXPECT_EQ(ext_ask(host, survey('4')), "EX08" + expected);
    EXPECT_EQ(device.snapshot().beeps, 1U);
}

TEST(SurveyScreen, EndsWhenItsTimeIsOver) {
    sim::Simulator device("", fast());
    Host host(device.port());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ext_ask(host, survey('4', "", "", "002")), "EX08T0");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(100));
}

TEST(SurveyScreen, IsStoppedByTheHostsEot) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, survey('4')));
    ASSERT_TRUE(device.wait_pending("EX08"));
    host.write_byte(eot);
    EXPECT_EQ(ext_answer(host), "EX08S0");
    host.write_byte(eot);
    EXPECT_TRUE(host.read_all().empty());
}

TEST(SurveyScreen, RefusesWhatIsMalformed) {
    sim::Simulator device;
    Host host(device.port());
    for (const std::string body :
         {"EX08", "EX08000G000400000000", "EX080001000500000000", "EX0800010004000", "EX080001",
          "EX08000100043000"
          "0000",
          "EX08000100040005AB",
          "EX08000100040000"
          "0000x"})
        EXPECT_EQ(ext_ask(host, body), "EX08E0") << body;
    EXPECT_EQ(device.snapshot().buttons, "");
}

TEST(CxSurveyScreen, HasTheButtonsOfItsScore) {
    sim::Simulator device("cxsurvey * live");
    Host host(device.port());
    const std::vector<std::pair<char, std::string>> scores{
        {'0', "12"}, {'1', "123"}, {'2', "1234"}, {'3', "12345"}, {'4', "0123456789"}};
    for (const auto &[score, buttons] : scores) {
        ASSERT_TRUE(ext_start(host, cx_survey(score)));
        ASSERT_TRUE(device.wait_pending("EX10"));
        EXPECT_EQ(device.snapshot().buttons, buttons);
        EXPECT_THAT(device.snapshot().display, ElementsAre("RATE US"));
        device.press_button(buttons.back());
        EXPECT_EQ(ext_answer(host), "EX10" + std::string(1, buttons.back()));
    }
}

TEST(CxSurveyScreen, TypesUpToThreeDigits) {
    sim::Simulator device("cxsurvey press 7 enter\ncxsurvey press 123 press 4 enter\n"
                          "cxsurvey press 9 clear press 10 enter\ncxsurvey enter press 5 enter");
    Host host(device.port());
    for (const std::string expected : {"007", "123", "010", "005"})
        EXPECT_EQ(ext_ask(host, cx_survey('5')), "EX10" + expected);
    EXPECT_EQ(device.snapshot().beeps, 2U);
}

TEST(CxSurveyScreen, TellsWhatIsTyped) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, cx_survey('5')));
    ASSERT_TRUE(device.wait_pending("EX10"));
    device.press_button('4');
    device.press_button('2');
    EXPECT_EQ(device.snapshot().typed, "42");
    device.press_key(sim::Key::backspace);
    EXPECT_EQ(device.snapshot().typed, "");
}

TEST(CxSurveyScreen, IsAnsweredAsTheCustomerActs) {
    sim::Simulator device("cxsurvey press 3\ncxsurvey cancel\ncxsurvey timeout\n"
                          "cxsurvey answer hex 3958");
    Host host(device.port());
    for (const std::string expected : {"3", "C", "T", "9X"})
        EXPECT_EQ(ext_ask(host, cx_survey('3')), "EX10" + expected);
}

TEST(CxSurveyScreen, EndsWhenItsTimeIsOver) {
    sim::Simulator device("", fast());
    Host host(device.port());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ext_ask(host, cx_survey('0', "002", "060")), "EX10T");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(100));
}

TEST(CxSurveyScreen, EndsWhenNobodyPressesAnything) {
    sim::Simulator device("", fast());
    Host host(device.port());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ext_ask(host, cx_survey('5', "060", "002")), "EX10I");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(100));
}

TEST(CxSurveyScreen, APressedButtonStartsTheIdleTimeAnew) {
    sim::Simulator device("cxsurvey wait 1600 press 1 wait 1600 press 2 live", fast());
    Host host(device.port());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ext_ask(host, cx_survey('5', "000", "002")), "EX10I");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(260));
}

TEST(CxSurveyScreen, IsStoppedByTheHostsEot) {
    sim::Simulator device;
    Host host(device.port());
    ASSERT_TRUE(ext_start(host, cx_survey('0')));
    ASSERT_TRUE(device.wait_pending("EX10"));
    host.write_byte(eot);
    EXPECT_EQ(ext_answer(host), "EX10S");
}

TEST(CxSurveyScreen, RefusesWhatIsMalformed) {
    sim::Simulator device;
    Host host(device.port());
    for (const std::string body :
         {"EX10", "EX10400000000", "EX10040000000", "EX10006000000", "EX10000000", "EX10000a00000"})
        EXPECT_EQ(ext_ask(host, body), "EX10E") << body;
}

} // namespace
