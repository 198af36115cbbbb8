#include "sim/secure_channel.h"
#include "sim/simulator.h"
#include "tests/sim/host.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace sim_test;

const char *const fixed_key = "000102030405060708090A0B0C0D0E0F";

std::string with_key(const std::string &more) {
    return std::string("session-key ") + fixed_key + "\n" + more;
}

// The answer to a secure OPN, and what is in the block that it carries.
struct Opened {
    std::string answer;
    Bytes cipher;
    Bytes block;
};

Opened open(Host &host, const KeyPair &pair) {
    Opened opened;
    opened.answer = host.ask(pair.open_command());
    constexpr std::size_t head = 12;
    if (opened.answer.size() == head + 512) {
        opened.cipher = from_hex(opened.answer.substr(head));
        opened.block = pair.decrypt(opened.answer.substr(head));
    }
    return opened;
}

const KeyPair &key_pair() {
    static const KeyPair pair;
    return pair;
}

TEST(SecureChannel, PadsAlwaysAndToABlock) {
    sim::SecureChannel channel;
    channel.set_key(from_hex(fixed_key));
    EXPECT_EQ(channel.wrap(Bytes(11, 'x')).size(), 16U);
    EXPECT_EQ(channel.wrap(Bytes(12, 'x')).size(), 32U);
    EXPECT_EQ(channel.wrap(Bytes(12, 'x')), seal(from_hex(fixed_key), std::string(12, 'x')));
}

TEST(SecureChannel, UnwrapsOnlyWhatIsWhole) {
    sim::SecureChannel channel;
    const Bytes key = from_hex(fixed_key);
    channel.set_key(key);
    const Bytes payload = seal(key, "DEX003000");
    EXPECT_EQ(channel.unwrap(payload), bytes("DEX003000"));
    EXPECT_FALSE(channel.unwrap(Bytes(payload.begin(), payload.end() - 1)).has_value());
    EXPECT_FALSE(channel.unwrap({}).has_value());
    Bytes damaged = payload;
    damaged[3] ^= 0x01;
    EXPECT_FALSE(channel.unwrap(damaged).has_value());
    Bytes plain = aes(key, payload, false);
    plain.back() = 1;
    EXPECT_FALSE(channel.unwrap(aes(key, plain, true)).has_value()) << "padding is not zero";
    plain.back() = 0;
    plain.insert(plain.end(), 16, 0);
    EXPECT_FALSE(channel.unwrap(aes(key, plain, true)).has_value()) << "padding is too long";
}

TEST(DeviceSecureOpen, HandsOutARandomKeyInABlockOfTypeTwo) {
    sim::Simulator device;
    Host host(device.port());
    const Bytes block = open_secure(host, key_pair());
    EXPECT_EQ(block[0], 0x00);
    EXPECT_EQ(block[1], 0x02);
    const auto separator = std::find(block.begin() + 2, block.end(), 0x00);
    EXPECT_EQ(block.end() - separator, 17);
    EXPECT_TRUE(device.snapshot().secure);
    const Bytes first = host.key;
    open_secure(host, key_pair());
    EXPECT_NE(host.key, first);
}

TEST(DeviceSecureOpen, AnswersInUpperCaseAndInClear) {
    sim::Simulator device;
    Host host(device.port());
    const std::string answer = host.ask(key_pair().open_command());
    ASSERT_EQ(answer.size(), 12U + 512U);
    EXPECT_EQ(answer.substr(0, 12), "OPN000515256");
    EXPECT_EQ(answer.find_first_not_of("0123456789ABCDEF", 12), std::string::npos);
}

TEST(DeviceSecureOpen, RefusesWhatIsNotAKey) {
    sim::Simulator device;
    Host host(device.port());
    const std::string good = key_pair().open_command();
    std::string bad = good;
    bad[3] = '4';
    EXPECT_EQ(host.ask(bad), "OPN011");
    bad = good;
    bad[6] = '1';
    EXPECT_EQ(host.ask(bad), "OPN011") << "mode";
    bad = good;
    bad[9] = '5';
    EXPECT_EQ(host.ask(bad), "OPN011") << "modulus length";
    bad = good;
    bad[20] = 'g';
    EXPECT_EQ(host.ask(bad), "OPN011") << "digit";
    bad = good;
    bad[10 + 511] = '0';
    EXPECT_EQ(host.ask(bad), "OPN011") << "even modulus";
    EXPECT_EQ(host.ask(good.substr(0, good.size() - 1)), "OPN011");
    EXPECT_FALSE(device.snapshot().open);
}

TEST(SecureSession, CarriesCommandsAndAnswersEncrypted) {
    sim::Simulator device("capture keys 77 enter");
    Host host(device.port());
    open_secure(host, key_pair());
    EXPECT_EQ(host.ask_secure("DEX008005HELLO"), "DEX000");
    EXPECT_EQ(device.snapshot().display, std::vector<std::string>{"HELLO"});
    const std::string gcd =
        command("GCD", record(11, "\1\1") + record(13, "\1") + record(14, "\4"));
    EXPECT_EQ(host.ask_secure(gcd), "GCD000006" + record(0x804D, "77"));
    EXPECT_EQ(device.commands().back(), bytes(gcd));
    const auto frames = device.wire().frames;
    EXPECT_TRUE(frames.back().encrypted);
    EXPECT_EQ(frames.back().body, bytes("GCD000006" + record(0x804D, "77")));
}

TEST(SecureSession, NotificationsAreEncryptedToo) {
    sim::Simulator device("event notify \"WAIT\" key f1");
    Host host(device.port());
    open_secure(host, key_pair());
    EXPECT_EQ(host.ask_secure(command("CEX", record(6, "100099"))), "NTM000004WAIT");
    EXPECT_EQ(host.answer_secure(), "CEX000006" + record(0x8040, "04"));
}

TEST(SecureSession, EndsWithCloAndClxWhichAreAnsweredInClear) {
    sim::Simulator device;
    Host host(device.port());
    for (const std::string &command : {"CLO032" + std::string(32, ' '), std::string("CLX")}) {
        open_secure(host, key_pair());
        ASSERT_TRUE(host.send_secure(command));
        EXPECT_EQ(host.answer(), command.substr(0, 3) + "000");
        EXPECT_FALSE(device.snapshot().secure);
        EXPECT_EQ(host.ask("DEX003000"), "DEX000");
    }
}

TEST(SecureSession, EndsEvenWhenTheCloseIsRefused) {
    sim::Simulator device;
    Host host(device.port());
    open_secure(host, key_pair());
    ASSERT_TRUE(host.send_secure("CLO"));
    EXPECT_EQ(host.answer(), "CLO011");
    EXPECT_FALSE(device.snapshot().secure);
}

TEST(SecureSession, APlainOpenEndsIt) {
    sim::Simulator device;
    Host host(device.port());
    open_secure(host, key_pair());
    EXPECT_EQ(host.ask("OPN"), "OPN000");
    EXPECT_FALSE(device.snapshot().secure);
    EXPECT_TRUE(device.snapshot().open);
}

TEST(SecureSession, TakesPlainCommandsUnlessTold) {
    sim::Simulator easy;
    Host first(easy.port());
    open_secure(first, key_pair());
    EXPECT_EQ(first.ask("DEX003000"), "DEX000");
    sim::Simulator strict("refuse-plain");
    Host second(strict.port());
    open_secure(second, key_pair());
    EXPECT_EQ(second.ask("DEX003000"), "DEX009");
    EXPECT_EQ(second.ask_secure("DEX003000"), "DEX000");
}

TEST(SecureSession, EncryptedCommandsNeedAKey) {
    sim::Simulator device;
    Host host(device.port());
    host.key = from_hex(fixed_key);
    ASSERT_TRUE(host.send_secure("DEX003000"));
    EXPECT_EQ(host.answer(), "ERR009");
}

TEST(SecureSession, UnreadableCommandsAreAnswered09) {
    sim::Simulator device;
    Host host(device.port());
    open_secure(host, key_pair());
    ASSERT_EQ(host.send("not a block", true), ack);
    EXPECT_EQ(host.answer_secure(), "ERR009");
    EXPECT_EQ(host.ask_secure("DEX003000"), "DEX000");
}

TEST(SecureSession, AnEncryptedOpenIsRefused) {
    sim::Simulator device;
    Host host(device.port());
    open_secure(host, key_pair());
    EXPECT_EQ(host.ask_secure("OPN"), "OPN010");
}

TEST(SecureFault, PayloadOfAnotherLength) {
    sim::Simulator device(with_key("fault secure DEX payload 33\nfault secure CEX payload 16"));
    Host host(device.port());
    open_secure(host, key_pair());
    EXPECT_EQ(host.ask_secure("DEX003000"), "<payload of 33>");
    EXPECT_EQ(host.ask_secure("DEX003000"), "DEX000");
}

TEST(SecureFault, WrongLenAndDatacrc) {
    sim::Simulator device("fault secure DEX len 999\nfault secure DEX nth 2 bad-datacrc");
    Host host(device.port());
    open_secure(host, key_pair());
    EXPECT_EQ(host.ask_secure("DEX003000"), "<len 999>");
    EXPECT_EQ(host.ask_secure("DEX003000"), "<datacrc>");
    EXPECT_EQ(host.ask_secure("DEX003000"), "DEX000");
}

TEST(SecureFault, EncryptedWithoutAKeyAndPlainWithOne) {
    sim::Simulator device("fault secure DEX encrypt\nfault secure DEX nth 2 plain");
    Host host(device.port());
    host.key = Bytes(16, 0);
    ASSERT_EQ(host.send("DEX003000"), ack);
    EXPECT_EQ(host.answer_secure(), "DEX000");
    open_secure(host, key_pair());
    ASSERT_TRUE(host.send_secure("DEX003000"));
    EXPECT_EQ(host.answer(), "DEX000");
}

TEST(OpenFault, BlockTypeAndHead) {
    sim::Simulator device("fault opn block-type 01\nfault opn nth 2 block-head 05");
    Host host(device.port());
    EXPECT_EQ(open(host, key_pair()).block[1], 0x01);
    EXPECT_EQ(open(host, key_pair()).block[0], 0x05);
    EXPECT_EQ(open(host, key_pair()).block[0], 0x00);
}

TEST(OpenFault, NoSeparator) {
    sim::Simulator device("fault opn no-separator");
    Host host(device.port());
    const Bytes block = open(host, key_pair()).block;
    ASSERT_EQ(block.size(), 256U);
    EXPECT_EQ(std::count(block.begin(), block.end(), 0x00), 1);
}

TEST(OpenFault, KeysOfAnotherLength) {
    sim::Simulator device(with_key("fault opn ksec-length 15\nfault opn nth 2 ksec-length 17"));
    Host host(device.port());
    for (std::ptrdiff_t length : {15, 17}) {
        const Bytes block = open(host, key_pair()).block;
        ASSERT_EQ(block.size(), 256U);
        const auto separator = std::find(block.begin() + 2, block.end(), 0x00);
        EXPECT_EQ(block.end() - separator - 1, length);
        EXPECT_FALSE(device.snapshot().secure);
    }
}

TEST(OpenFault, LengthsThatLie) {
    sim::Simulator device("fault opn len1 514\nfault opn nth 2 crkslen 128");
    Host host(device.port());
    EXPECT_EQ(open(host, key_pair()).answer.substr(0, 12), "OPN000514256");
    EXPECT_EQ(open(host, key_pair()).answer.substr(0, 12), "OPN000515128");
}

TEST(OpenFault, EmptyShortAndBadHex) {
    sim::Simulator device("fault opn empty\nfault opn nth 2 short 10\nfault opn nth 3 bad-hex");
    Host host(device.port());
    EXPECT_EQ(open(host, key_pair()).answer, "OPN000");
    EXPECT_FALSE(device.snapshot().secure);
    EXPECT_EQ(open(host, key_pair()).answer.size(), 12U + 10U);
    const std::string answer = host.ask(key_pair().open_command());
    EXPECT_NE(answer.find('G'), std::string::npos);
}

TEST(OpenFault, CipherTextThatBeginsWith30) {
    sim::Simulator device(with_key("fault opn lead-30 1"));
    Host host(device.port());
    const Opened opened = open(host, key_pair());
    ASSERT_EQ(opened.cipher.size(), 256U);
    EXPECT_EQ(opened.cipher[0], 0x30);
    EXPECT_EQ(Bytes(opened.block.end() - 16, opened.block.end()), from_hex(fixed_key));
    EXPECT_EQ(opened.block[1], 0x02);
}

TEST(OpenFault, CanEndsTheSearchForAnUnlikelyBlock) {
    sim::Simulator device("fault opn lead-30 2");
    Host host(device.port());
    ASSERT_EQ(host.send(key_pair().open_command()), ack);
    ASSERT_TRUE(
        device.wait_for([](const sim::Snapshot &state) { return state.pending_command == "OPN"; },
                        milliseconds(2000)));
    EXPECT_FALSE(device.snapshot().waiting);
    host.write_byte(can);
    EXPECT_EQ(host.read_byte(), eot);
    EXPECT_EQ(device.snapshot().pending_command, "");
    EXPECT_EQ(host.ask("OPN"), "OPN000");
}

TEST(OpenFault, ReplyUnderAnotherIdentifier) {
    sim::Simulator device("reply OPN id XYZ");
    Host host(device.port());
    EXPECT_EQ(open(host, key_pair()).answer.substr(0, 6), "XYZ000");
}

} // namespace
