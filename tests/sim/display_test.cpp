#include "sim/screen.h"
#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace sim_test;
using testing::ElementsAre;
using testing::IsEmpty;

std::string show(const std::string &message) {
    return "DEX" + number(message.size() + 3, 3) + number(message.size(), 3) + message;
}

TEST(Screen, BreaksAtCrAndAtTheLastColumn) {
    EXPECT_THAT(sim::lay_out("AB\rCDEFG", 4, 5), ElementsAre("AB", "CDEF", "G"));
    EXPECT_THAT(sim::lay_out("A\r\rB  \r\r", 4, 5), ElementsAre("A", "", "B"));
    EXPECT_THAT(sim::lay_out("ABCD\rE", 4, 5), ElementsAre("ABCD", "E"));
    EXPECT_THAT(sim::lay_out("A\rB\rC", 4, 2), ElementsAre("A", "B"));
    EXPECT_THAT(sim::lay_out("", 4, 2), IsEmpty());
}

TEST(DeviceDisplay, ShowsAMessage) {
    sim::Simulator device("display 10 3");
    Host host(device.port());
    EXPECT_EQ(host.ask(show("HELLO\rWORLDWIDE WEB")), "DEX000");
    EXPECT_THAT(device.snapshot().display, ElementsAre("HELLO", "WORLDWIDE", "WEB"));
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::text);
    EXPECT_EQ(host.ask("DEX003000"), "DEX000");
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::blank);
}

TEST(DeviceDisplay, TakesAtMost160CharactersWithinItsRange) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(show(std::string(160, 'x'))), "DEX000");
    EXPECT_EQ(host.ask(show(std::string(161, 'x'))), "DEX011");
    EXPECT_EQ(host.ask(show("\xE9")), "DEX000");
    EXPECT_EQ(host.ask(show("\n")), "DEX011");
    EXPECT_EQ(host.ask("DEX"), "DEX011");
    EXPECT_EQ(host.ask("DEX005003ab"), "DEX011");
    EXPECT_EQ(host.ask("DEX002ab"), "DEX011");
}

TEST(DisplayImage, ShowsWhatIsInTheStore) {
    sim::Simulator device("media LOGO text \"x\"");
    Host host(device.port());
    EXPECT_EQ(host.ask(command("DSI", record(0x1E, "LOGO    "))), "DSI000");
    EXPECT_THAT(device.snapshot().shown_media, ElementsAre("LOGO"));
    EXPECT_EQ(device.snapshot().screen, sim::ScreenKind::media);
    EXPECT_EQ(host.ask(command("DSI", record(0x1E, "OTHER   "))), "DSI100");
    EXPECT_EQ(host.ask(command("DSI", record(0x1E, "LOGO"))), "DSI011");
    EXPECT_EQ(host.ask("DSI"), "DSI019");
    EXPECT_EQ(host.ask(command("DSI", record(0x1E, "LOGO    ") + record(0x1E, "LOGO    "))),
              "DSI011");
}

TEST(DisplayFiles, ShowsSeveralInTheirOrder) {
    sim::Simulator device("media A size 1\nmedia B size 1");
    Host host(device.port());
    EXPECT_EQ(host.ask(command("DMF", record(0x1E, "B       ") + record(0x1E, "A       "))),
              "DMF000");
    EXPECT_THAT(device.snapshot().shown_media, ElementsAre("B", "A"));
    EXPECT_EQ(host.ask(command("DMF", record(0x1E, "B       ") + record(0x1E, "C       "))),
              "DMF100");
    EXPECT_THAT(device.snapshot().shown_media, ElementsAre("B", "A"));
    EXPECT_EQ(host.ask("DMF"), "DMF019");
}

TEST(ListFiles, NamesTheStoreInOrder) {
    sim::Simulator device("media LOGO size 1\nmedia ADVERT01 size 2");
    Host host(device.port());
    EXPECT_EQ(host.ask("LMF"),
              "LMF000024" + record(0x805E, "LOGO    ") + record(0x805E, "ADVERT01"));
    EXPECT_EQ(host.ask("LMF003abc"), "LMF011");
}

TEST(ListFiles, OfAnEmptyStoreHasNoBlock) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("LMF"), "LMF000");
}

TEST(ListFiles, SpillsIntoTheSecondBlock) {
    std::string scenario;
    for (int i = 0; i < 84; ++i)
        scenario += "media F" + std::to_string(i) + " size 0\n";
    sim::Simulator device(scenario);
    Host host(device.port());
    const std::string answer = host.ask("LMF");
    EXPECT_EQ(answer.substr(0, 9), "LMF000996");
    EXPECT_EQ(answer.substr(9 + 996), "012" + record(0x805E, "F83     "));
}

} // namespace
