#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gtest/gtest.h>

namespace {

using namespace sim_test;

std::string start(const std::string &name, std::size_t size, unsigned check, char type = '\2') {
    std::string facts;
    for (int shift = 24; shift >= 0; shift -= 8)
        facts.push_back(static_cast<char>(size >> shift & 0xFF));
    facts.push_back(static_cast<char>(check >> 8));
    facts.push_back(static_cast<char>(check & 0xFF));
    facts.push_back(type);
    facts.append(3, '\0');
    return command("MLI", record(30, name) + record(31, facts));
}

std::string more(const std::string &data) {
    return command("MLR", record(15, data));
}

TEST(DeviceMedia, IsStoredWhenAllOfItCame) {
    std::string content;
    for (int i = 0; i < 1200; ++i)
        content.push_back(static_cast<char>(i));
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(start("LOGO    ", content.size(), crc(bytes(content)))), "MLI000");
    EXPECT_EQ(device.snapshot().loading, "LOGO");
    EXPECT_EQ(host.ask(more(content.substr(0, 995))), "MLR000");
    EXPECT_EQ(host.ask(more(content.substr(995))), "MLR000");
    EXPECT_EQ(host.ask("MLE"), "MLE000");
    const sim::Snapshot state = device.snapshot();
    EXPECT_EQ(state.loading, "");
    const sim::MediaFile *file = state.find_media("LOGO");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->content, bytes(content));
    EXPECT_EQ(file->type, 2);
    EXPECT_EQ(file->crc, crc(bytes(content)));
}

TEST(DeviceMedia, ReplacesAFileOfTheSameName) {
    sim::Simulator device("media LOGO size 9\nmedia B size 1");
    Host host(device.port());
    EXPECT_EQ(host.ask(start("LOGO    ", 2, crc(bytes("ab")))), "MLI000");
    EXPECT_EQ(host.ask(more("ab")), "MLR000");
    EXPECT_EQ(host.ask("MLE"), "MLE000");
    ASSERT_EQ(device.snapshot().media.size(), 2U);
    EXPECT_EQ(device.snapshot().media.front().content, bytes("ab"));
}

TEST(DeviceMedia, EmptyFilesNeedNoRecord) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(start("EMPTY   ", 0, 0)), "MLI000");
    EXPECT_EQ(host.ask("MLE"), "MLE000");
    EXPECT_NE(device.snapshot().find_media("EMPTY"), nullptr);
}

TEST(DeviceMedia, WithAWrongChecksumIsRefusedAtTheEnd) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(start("LOGO    ", 2, 0x1234)), "MLI000");
    EXPECT_EQ(host.ask(more("ab")), "MLR000");
    EXPECT_EQ(host.ask("MLE"), "MLE102");
    EXPECT_TRUE(device.snapshot().media.empty());
    EXPECT_EQ(host.ask("MLE"), "MLE010");
}

TEST(DeviceMedia, ThatIsTooShortOrTooLongIsRefused) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(start("LOGO    ", 3, crc(bytes("abc")))), "MLI000");
    EXPECT_EQ(host.ask(more("ab")), "MLR000");
    EXPECT_EQ(host.ask("MLE"), "MLE101");
    EXPECT_EQ(host.ask(start("LOGO    ", 3, crc(bytes("abc")))), "MLI000");
    EXPECT_EQ(host.ask(more("abcd")), "MLR101");
    EXPECT_EQ(host.ask(more("a")), "MLR010");
}

TEST(DeviceMedia, RecordsNeedALoad) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask(more("a")), "MLR010");
    EXPECT_EQ(host.ask("MLE"), "MLE010");
}

TEST(DeviceMedia, RefusesMalformedCommands) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_EQ(host.ask("MLI"), "MLI019");
    EXPECT_EQ(host.ask(start("LOGO", 1, 0)), "MLI011");
    EXPECT_EQ(host.ask(start("        ", 1, 0)), "MLI011");
    EXPECT_EQ(host.ask(command("MLI", record(30, "LOGO    ") + record(31, std::string(10, '\1')))),
              "MLI011");
    EXPECT_EQ(host.ask(start("LOGO    ", 9, 0)), "MLI000");
    EXPECT_EQ(host.ask("MLR"), "MLR019");
    EXPECT_EQ(host.ask(more("")), "MLR011");
    EXPECT_EQ(host.ask("MLE003abc"), "MLE011");
}

} // namespace
