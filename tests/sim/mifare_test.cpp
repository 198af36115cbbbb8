#include "sim/simulator.h"
#include "tests/sim/ext_host.h"

#include <gtest/gtest.h>

namespace {

using namespace sim_test;

const std::string factory_key = "FFFFFFFFFFFF";
const std::string key_a = "A0A1A2A3A4A5";
const std::string key_b = "B0B1B2B3B4B5";
const std::string serial = "04A1B2C3";
const std::string zeros(32, '0');

// A device with a card in its field, activated.
class MifareDevice : public testing::Test {
protected:
    void with(const std::string &words) {
        device_ = std::make_unique<sim::Simulator>("mifare uid 04A1B2C3 " + words);
        host_ = std::make_unique<Host>(device_->port());
        ASSERT_EQ(ask("MF01"), "MF0100" + serial);
    }
    std::string ask(const std::string &body) { return ext_ask(*host_, body); }
    std::string prove(const std::string &block, const std::string &key = "A" + factory_key) {
        return ask("MF02" + block + key + serial);
    }

    std::unique_ptr<sim::Simulator> device_;
    std::unique_ptr<Host> host_;
};

TEST_F(MifareDevice, ActivatesTheCardInTheField) {
    with("");
    EXPECT_TRUE(device_->snapshot().card_held);
    device_->take_card();
    EXPECT_EQ(ask("MF01"), "MF0101");
    device_->hold_card();
    EXPECT_EQ(ask("MF01"), "MF0100" + serial);
}

TEST(MifareField, IsEmptyWithoutACardInTheScenario) {
    sim::Simulator device;
    Host host(device.port());
    EXPECT_FALSE(device.snapshot().card_held);
    for (const std::string body :
         {"MF01", "MF020004AFFFFFFFFFFFF04A1B2C3", "MF03000400R016", "MF0400", "MF050004R"}) {
        const std::string expected = body == "MF0400" ? "MF0406" : body.substr(0, 4) + "01";
        EXPECT_EQ(ext_ask(host, body), expected) << body;
    }
    device.hold_card();
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0100" + serial);
}

TEST(MifareField, IsEmptyWhileTheCardIsAway) {
    sim::Simulator device("mifare uid 11223344\nmifare away");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0101");
    device.hold_card();
    EXPECT_EQ(ext_ask(host, "MF01"), "MF010011223344");
}

TEST(MifareField, MissesTheCardAsOftenAsTold) {
    sim::Simulator device("mifare uid 11223344 missed 2");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0101");
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0101");
    EXPECT_EQ(ext_ask(host, "MF01"), "MF010011223344");
}

TEST_F(MifareDevice, ProvesTheKeysOfTheCardWithThatNumber) {
    with("key A 1 " + key_a + " key B 1 " + key_b);
    EXPECT_EQ(prove("0004", "A" + key_a), "MF0200");
    EXPECT_EQ(prove("0004", "B" + key_b), "MF0200");
    EXPECT_EQ(prove("0004"), "MF0203");
    EXPECT_EQ(ask("MF020004A" + key_a + "11223344"), "MF0201");
}

TEST_F(MifareDevice, AnActivationEndsWhatWasProved) {
    with("");
    EXPECT_EQ(prove("0004"), "MF0200");
    EXPECT_EQ(ask("MF03000400R016"), "MF0300" + zeros);
    EXPECT_EQ(ask("MF01"), "MF0100" + serial);
    EXPECT_EQ(ask("MF03000400R016"), "MF0302");
}

TEST_F(MifareDevice, TakingTheCardEndsWhatWasProved) {
    with("");
    EXPECT_EQ(prove("0004"), "MF0200");
    device_->take_card();
    device_->hold_card();
    EXPECT_EQ(ask("MF03000400R016"), "MF0302");
}

TEST_F(MifareDevice, ReadsAndWritesPartsOfBlocks) {
    with("block 4 000102030405060708090A0B0C0D0E0F");
    EXPECT_EQ(prove("0004"), "MF0200");
    EXPECT_EQ(ask("MF03000404R003"), "MF0300040506");
    EXPECT_EQ(ask("MF03000414R004"), "MF03000E0F0000");
    EXPECT_EQ(ask("MF03000401WAABB"), "MF03002");
    EXPECT_EQ(ask("MF03000400R016"), "MF030000AABB030405060708090A0B0C0D0E0F");
    EXPECT_EQ(device_->card().content(4).at(2), 0xBB);
}

TEST_F(MifareDevice, WritesNothingUnlessAllMayBeWritten) {
    with("access 5 010");
    EXPECT_EQ(prove("0004"), "MF0200");
    EXPECT_EQ(ask("MF03000408W" + std::string(32, 'A')), "MF0304");
    EXPECT_EQ(ask("MF03000400R016"), "MF0300" + zeros);
    EXPECT_EQ(ask("MF03000408W" + std::string(16, 'A')), "MF03008");
}

TEST_F(MifareDevice, DoesNotReadOnIntoAnotherSector) {
    with("");
    EXPECT_EQ(prove("0004"), "MF0200");
    EXPECT_EQ(ask("MF03000700R017"), "MF0302");
    EXPECT_EQ(prove("0060"), "MF0200");
    EXPECT_EQ(ask("MF03006300R017"), "MF0306");
}

TEST_F(MifareDevice, WorksOnValues) {
    with("value 4 1000 value 5 0");
    EXPECT_EQ(prove("0004"), "MF0200");
    EXPECT_EQ(ask("MF040004R"), "MF04001000");
    EXPECT_EQ(ask("MF0400040005+25"), "MF04001025");
    EXPECT_EQ(ask("MF0400050005-2000"), "MF0400-975");
    EXPECT_EQ(ask("MF0400040006="), "MF04001000");
    EXPECT_EQ(ask("MF040006W-7"), "MF0400-7");
    EXPECT_EQ(ask("MF040006R"), "MF0400-7");
    EXPECT_EQ(ask("MF040007R"), "MF0405");
    EXPECT_EQ(ask("MF040006W2147483647"), "MF04002147483647");
    EXPECT_EQ(ask("MF0400060006+1"), "MF0407");
}

TEST_F(MifareDevice, RefusesWhatTheAccessBitsRefuse) {
    with("key B * " + key_b + " value 4 10 access 4 110 access 7 011");
    EXPECT_EQ(prove("0004"), "MF0200");
    EXPECT_EQ(ask("MF0400040004+1"), "MF0404");
    EXPECT_EQ(ask("MF0400040004-1"), "MF04009");
    EXPECT_EQ(prove("0004", "B" + key_b), "MF0200");
    EXPECT_EQ(ask("MF0400040004+1"), "MF040010");
}

TEST_F(MifareDevice, ConfiguresASector) {
    with("");
    EXPECT_EQ(prove("0005"), "MF0200");
    EXPECT_EQ(ask("MF050005R"), "MF0500000");
    EXPECT_EQ(ask("MF050007R"), "MF0500001");
    EXPECT_EQ(ask("MF050005A" + key_a + "B" + key_b + "100"), "MF0500");
    EXPECT_EQ(prove("0005"), "MF0203");
    EXPECT_EQ(prove("0005", "A" + key_a), "MF0200");
    EXPECT_EQ(ask("MF050005R"), "MF0500100");
}

TEST_F(MifareDevice, ChangesKeys) {
    with("");
    EXPECT_EQ(ask("MF060005A" + key_a + "B" + key_b), "MF0602");
    EXPECT_EQ(prove("0005"), "MF0200");
    EXPECT_EQ(ask("MF060005A" + key_a + "B" + key_b), "MF0600");
    EXPECT_EQ(prove("0004"), "MF0203");
    EXPECT_EQ(prove("0004", "A" + key_a), "MF0200");
}

TEST_F(MifareDevice, RefusesWhatIsMalformed) {
    with("");
    EXPECT_EQ(prove("0004"), "MF0200");
    for (const std::string body : {"MF01x",
                                   "MF02",
                                   "MF020064AFFFFFFFFFFFF04A1B2C3",
                                   "MF020004CFFFFFFFFFFFF04A1B2C3",
                                   "MF020004AFFFFFFFFFFFG04A1B2C3",
                                   "MF03000400R000",
                                   "MF03000416R001",
                                   "MF03000400X",
                                   "MF03000400R16",
                                   "MF03000400WABC",
                                   "MF03000400W",
                                   "MF040004X",
                                   "MF040004W1x",
                                   "MF0400040005*1",
                                   "MF0400040005+-1",
                                   "MF0400040064+1",
                                   "MF040004W99999999999",
                                   "MF050004X",
                                   "MF050004Rx",
                                   "MF050004AFFFFFFFFFFFFBFFFFFFFFFFFF002",
                                   "MF060004AFFFFFFFFFFFF",
                                   "MF060004AFFFFFFFFFFFFBFFFFFFFFFFFFx"})
        EXPECT_EQ(ask(body), body.substr(0, 4) + "06") << body;
    EXPECT_EQ(ask("MF03000400R016"), "MF0300" + zeros);
}

TEST(MifareStatus, IsSentAsItsDigitsValuesWhenToldTo) {
    sim::Simulator device("mifare uid 04A1B2C3\nbinary-status");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), std::string("MF01\x00\x00", 6) + serial);
    EXPECT_EQ(ext_ask(host, "MF020004A" + key_a + serial), std::string("MF02\x00\x03", 6));
}

TEST(MifareStatus, IsChangedByRules) {
    sim::Simulator device("mifare uid 04A1B2C3\nstatus MF01 057 nth 2");
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0100" + serial);
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0157");
    EXPECT_EQ(ext_ask(host, "MF01"), "MF0100" + serial);
}

TEST(MifareField, SurvivesThatTheCableIsPulled) {
    sim::Simulator device("mifare uid 04A1B2C3");
    {
        Host host(device.port());
        EXPECT_EQ(ext_ask(host, "MF01"), "MF0100" + serial);
        EXPECT_EQ(ext_ask(host, "MF020004A" + factory_key + serial), "MF0200");
        EXPECT_EQ(ext_ask(host, "MF03000400WAA"), "MF03001");
    }
    device.unplug();
    device.replug();
    Host host(device.port());
    EXPECT_EQ(ext_ask(host, "MF03000400R001"), "MF0302");
    EXPECT_EQ(ext_ask(host, "MF020004A" + factory_key + serial), "MF0200");
    EXPECT_EQ(ext_ask(host, "MF03000400R001"), "MF0300AA");
}

} // namespace
