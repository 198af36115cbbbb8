#include "ext/mifare.h"
#include "tests/ext/ext_fixture.h"

#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace line;
using extension::frame;

constexpr char KEY[] = "A0A1A2A3A4A5";
constexpr char KEY_B[] = "B0B1B2B3B4B5";
constexpr auto ILLEGAL = PCL_RESULT_ILLEGAL_ARGUMENT;

class Mifare : public Extension {
protected:
    void SetUp() override {
        Extension::SetUp();
        reset();
    }
    void reset() {
        m_status.fill('?');
        m_text.fill('?');
        m_length = 77;
        m_value = 77;
    }
    char *status() { return m_status.data(); }
    char *text() { return m_text.data(); }

    template <typename Call>
    void expectOk(Call call) {
        EXPECT_NO_FAILURE(EXPECT_EQ(0, call()));
        m_peer.finish();
    }

    /// Nothing of what a command may fill has been touched.
    void expectUntouched() {
        for (const char c : m_status) {
            EXPECT_EQ('?', c);
        }
        for (const char c : m_text) {
            EXPECT_EQ('?', c);
        }
        EXPECT_EQ(77U, m_length);
        EXPECT_EQ(77, m_value);
    }

    struct Command {
        std::string id;
        std::string request;
        std::function<std::int32_t()> run;
    };

    /// Each of the commands, with arguments that it accepts.
    std::vector<Command> commands() {
        const std::string keys = std::string("A") + KEY + "B" + KEY_B;
        return {
            {"MF01", "MF01", [&] { return abecs_mf_activate(pinpad(), text(), status()); }},
            {"MF02", std::string("MF020001A") + KEY + "04",
             [&] { return abecs_mf_authenticate(pinpad(), 1, 'A', KEY, "04", status()); }},
            {"MF03", "MF03000100R077",
             [&] { return abecs_mf_read_write(pinpad(), 'R', 1, 0, &m_length, text(), status()); }},
            {"MF04", "MF040001R",
             [&] { return abecs_mf_value_command(pinpad(), 1, 1, 'R', 0, &m_value, status()); }},
            {"MF05", "MF050001R",
             [&] { return abecs_mf_block_config_get(pinpad(), 1, text(), status()); }},
            {"MF05", "MF050001" + keys + "011",
             [&] { return abecs_mf_block_config_set(pinpad(), 1, KEY, KEY_B, "011", status()); }},
            {"MF06", "MF060001" + keys,
             [&] { return abecs_mf_key_change(pinpad(), 1, KEY, KEY_B, status()); }}};
    }

    std::array<char, 8> m_status{};
    std::array<char, 2100> m_text{};
    std::uint32_t m_length = 0;
    std::int32_t m_value = 0;
};

TEST_F(Mifare, ActivateReadsTheSerialNumber) {
    answer("MF01", "MF010004A1B2C3");
    expectOk([&] { return abecs_mf_activate(pinpad(), text(), status()); });
    EXPECT_STREQ("00", status());
    EXPECT_STREQ("04A1B2C3", text());
    answer("MF01", "MF0101");
    expectOk([&] { return abecs_mf_activate(pinpad(), text(), status()); });
    EXPECT_STREQ("01", status());
    EXPECT_STREQ("", text());
    reset();
    expectRefused([&] { return abecs_mf_activate(nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'pinpad' is NULL");
    expectRefused([&] { return abecs_mf_activate(pinpad(), nullptr, nullptr); }, ILLEGAL,
                  "'szSerialNumber' is NULL");
    expectRefused([&] { return abecs_mf_activate(pinpad(), text(), nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
}

TEST_F(Mifare, RefusesAnswersItCannotRead) {
    for (const Command &command : commands()) {
        SCOPED_TRACE(command.request);
        for (const std::string &response :
             {std::string(), command.id + "0", std::string("ERR 0")}) {
            answer(command.request, response);
            EXPECT_FAILURE(command.run(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
            m_peer.finish();
        }
        answer(command.request, "MF0900");
        EXPECT_FAILURE(command.run(), PCL_RESULT_PROTOCOL_ERROR,
                       "(" + command.id + ") Invalid RSP_ID: MF09");
        m_peer.finish();
        answer(command.request, Bytes{0x06});
        EXPECT_FAILURE(command.run(), PCL_RESULT_PROTOCOL_ERROR,
                       "Protocol error (expected STX, read 0x6)");
        m_peer.finish();
        expectUntouched();
        answer(command.request, command.id + "00");
        expectOk(command.run);
        EXPECT_STREQ("00", status());
        reset();
    }
}

TEST_F(Mifare, PassesTheTerminalsVerdictOn) {
    for (const Command &command : commands()) {
        SCOPED_TRACE(command.request);
        answer(command.request, "ERR 99");
        expectOk(command.run);
        EXPECT_STREQ("99", status());
        EXPECT_EQ('?', m_status[3]);
        reset();
        answer(command.request, command.id + "~ ");
        expectOk(command.run);
        EXPECT_STREQ("~ ", status());
        reset();
    }
}

TEST_F(Mifare, RepairsBinaryStatusDigitsOfConfigurationAndKeysOnly) {
    struct {
        Bytes sent;
        Bytes repaired;
    } const cases[] = {{{0x00, 0x01}, {'0', '1'}},
                       {{0x09, 0x0A}, {'9', 0x0A}},
                       {{0xFF, 0x80}, {0x2F, 0xB0}},
                       {{0x7F, '9'}, {0x7F, '9'}}};
    for (const Command &command : commands()) {
        SCOPED_TRACE(command.request);
        for (const auto &[sent, repaired] : cases) {
            answer(command.request, frame(bytes(command.id) + sent));
            expectOk(command.run);
            const bool repairs = command.id == "MF05" || command.id == "MF06";
            EXPECT_EQ((repairs ? repaired : sent) + Bytes{0}, Bytes(status(), status() + 3));
            reset();
        }
    }
}

TEST_F(Mifare, ReturnsMinusOneAndTouchesNothingWithoutAnAnswer) {
    for (const Command &command : commands()) {
        SCOPED_TRACE(command.request);
        for (const Bytes &verdict : {Bytes{}, ACK}) {
            m_peer.play([request = frame(command.request), verdict](Peer &line) {
                line.expect(request);
                line.write(verdict);
            });
            EXPECT_NO_FAILURE(EXPECT_EQ(-1, command.run()));
            m_peer.finish();
            expectUntouched();
        }
        m_peer.play([request = frame(command.request)](Peer &line) {
            line.expect(request);
            line.write(ACK);
            for (int attempt = 0; attempt < 3; ++attempt) {
                line.write({0x02, 0x00, 0x06, 'A', 0x03, 0x00});
                line.expect(NAK);
            }
        });
        EXPECT_NO_FAILURE(EXPECT_EQ(-1, command.run()));
        m_peer.finish();
        expectUntouched();
    }
    expectExchangeWorks();
}

TEST_F(Mifare, RaisesWhenTheTerminalRejectsTheRequest) {
    for (const Command &command : commands()) {
        SCOPED_TRACE(command.request);
        m_peer.play([request = frame(command.request)](Peer &line) {
            for (int attempt = 0; attempt < 3; ++attempt) {
                line.expect(request);
                line.write(NAK);
            }
        });
        EXPECT_FAILURE(command.run(), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
        m_peer.finish();
        expectUntouched();
    }
    expectExchangeWorks();
}

TEST_F(Mifare, LeavesNothingPending) {
    for (const Command &command : commands()) {
        answer(command.request, command.id + "00");
        expectOk(command.run);
        EXPECT_STREQ("", abecs_pinpad_get_pending(pinpad()).text);
        reset();
    }
}

TEST_F(Mifare, AuthenticateSendsKeyAndSerialNumber) {
    answer("MF029999AA0A1A2A3A4A504A1B2C3", "MF0200");
    expectOk([&] { return abecs_mf_authenticate(pinpad(), 9999, 'A', KEY, "04A1B2C3", status()); });
    EXPECT_STREQ("00", status());
    answer("MF020000BB0B1B2B3B4B5", "MF02000");
    EXPECT_FAILURE(abecs_mf_authenticate(pinpad(), 0, 'B', KEY_B, "", status()),
                   PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    m_peer.finish();
}

TEST_F(Mifare, AuthenticateChecksItsArgumentsInOrder) {
    const auto call = [&](AbecsPinpad *p, int block, char type, const char *key, const char *serial,
                          char *s) {
        return abecs_mf_authenticate(p, static_cast<std::uint16_t>(block), type, key, serial, s);
    };
    expectRefused([&] { return call(nullptr, 10000, 'C', nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'pinpad' is NULL");
    expectRefused([&] { return call(pinpad(), 10000, 'C', nullptr, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for usBlockAddress: 10000 (max: 9999)");
    expectRefused([&] { return call(pinpad(), 1, 'C', nullptr, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for cType: C");
    expectRefused([&] { return call(pinpad(), 1, 'a', nullptr, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for cType: a");
    expectRefused([&] { return call(pinpad(), 1, 'B', nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'szKey' is NULL");
    expectRefused([&] { return call(pinpad(), 1, 'B', "12345678901", nullptr, nullptr); }, ILLEGAL,
                  "Invalid size for szKey: 12345678901 (exact: 12)");
    expectRefused([&] { return call(pinpad(), 1, 'B', "1234567890123", nullptr, nullptr); },
                  ILLEGAL, "Invalid size for szKey: 1234567890123 (exact: 12)");
    expectRefused([&] { return call(pinpad(), 1, 'B', KEY, nullptr, nullptr); }, ILLEGAL,
                  "'szSerialNumber' is NULL");
    expectRefused([&] { return call(pinpad(), 1, 'B', KEY, "", nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
    EXPECT_EQ('?', m_status[0]);
}

TEST_F(Mifare, ReadAsksForBytesAndCountsThem) {
    m_length = 256;
    answer("MF03000400R256", "MF0300" + std::string(512, 'A'));
    expectOk([&] { return abecs_mf_read_write(pinpad(), 'R', 4, 0, &m_length, text(), status()); });
    EXPECT_EQ(256U, m_length);
    EXPECT_EQ(std::string(512, 'A'), text());
    m_length = 5;
    answer("MF03999915R005", "MF0300ABC");
    expectOk(
        [&] { return abecs_mf_read_write(pinpad(), 'R', 9999, 15, &m_length, text(), status()); });
    EXPECT_EQ(1U, m_length);
    EXPECT_STREQ("ABC", text());
    answer("MF03000400R001", "MF0304");
    expectOk([&] { return abecs_mf_read_write(pinpad(), 'R', 4, 0, &m_length, text(), status()); });
    EXPECT_STREQ("04", status());
    EXPECT_EQ(0U, m_length);
    EXPECT_STREQ("", text());
}

TEST_F(Mifare, WriteSendsTheTextAndReadsTheCount) {
    m_length = 256;
    std::strcpy(text(), "0011AAFF");
    answer("MF03000415W0011AAFF", "MF0300004");
    expectOk(
        [&] { return abecs_mf_read_write(pinpad(), 'W', 4, 15, &m_length, text(), status()); });
    EXPECT_EQ(4U, m_length);
    EXPECT_STREQ("", text());
    answer("MF03000400W", "MF0300A1");
    expectOk([&] { return abecs_mf_read_write(pinpad(), 'W', 4, 0, &m_length, text(), status()); });
    EXPECT_EQ(171U, m_length); // 'A' counts as 17
    std::strcpy(text(), "00");
    answer("MF03000400W00", "MF0300");
    expectOk([&] { return abecs_mf_read_write(pinpad(), 'W', 4, 0, &m_length, text(), status()); });
    EXPECT_EQ(0U, m_length);
}

TEST_F(Mifare, ReadAndWriteCheckTheirArgumentsInOrder) {
    const auto call = [&](AbecsPinpad *p, char operation, int block, int byte, std::uint32_t *count,
                          char *data, char *s) {
        return abecs_mf_read_write(p, operation, static_cast<std::uint16_t>(block),
                                   static_cast<std::uint8_t>(byte), count, data, s);
    };
    expectRefused([&] { return call(nullptr, 'X', 10000, 16, nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'pinpad' is NULL");
    expectRefused([&] { return call(pinpad(), 'X', 10000, 16, nullptr, nullptr, nullptr); },
                  ILLEGAL, "Invalid value for cOperation: X");
    expectRefused([&] { return call(pinpad(), 'R', 10000, 16, nullptr, nullptr, nullptr); },
                  ILLEGAL, "Invalid value for usBlockAddress: 10000 (max: 9999)");
    expectRefused([&] { return call(pinpad(), 'R', 1, 16, nullptr, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for bBlockByte: 16 (max: 15)");
    expectRefused([&] { return call(pinpad(), 'R', 1, 1, nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'pdwDataLen' is NULL");
    m_length = 257;
    expectRefused([&] { return call(pinpad(), 'W', 1, 1, &m_length, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for pdwDataLen: 257 (max: 256)");
    m_length = 256;
    expectRefused([&] { return call(pinpad(), 'W', 1, 1, &m_length, nullptr, nullptr); }, ILLEGAL,
                  "'szData' is NULL");
    expectRefused([&] { return call(pinpad(), 'W', 1, 1, &m_length, text(), nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
    EXPECT_EQ('?', m_status[0]);
}

TEST_F(Mifare, ValueCommandSendsWhatItsOperationNeeds) {
    const auto call = [&](char operation, std::int32_t value, const char *request,
                          const char *response, std::int32_t expected) {
        SCOPED_TRACE(request);
        answer(request, response);
        expectOk([&] {
            return abecs_mf_value_command(pinpad(), 5, 6, operation, value, &m_value, status());
        });
        EXPECT_EQ(expected, m_value);
    };
    call('R', 123, "MF040005R", "MF0400-70", -70);
    call('W', 100, "MF040005W100", "MF0400", 0);
    call('W', -2147483647, "MF040005W-2147483647", "MF0400-2147483647", -2147483647);
    call('+', 2147483647, "MF0400050006+2147483647", "MF04002147483647", 2147483647);
    call('-', 30, "MF0400050006-30", "MF040012x", 12);
    call('=', 99, "MF0400050006=", "MF0400none", 0);
}

TEST_F(Mifare, ValueCommandChecksItsArgumentsInOrder) {
    const auto call = [&](AbecsPinpad *p, int from, int to, char operation, std::int32_t value,
                          std::int32_t *result, char *s) {
        return abecs_mf_value_command(p, static_cast<std::uint16_t>(from),
                                      static_cast<std::uint16_t>(to), operation, value, result, s);
    };
    constexpr std::int32_t MIN = -2147483647 - 1;
    expectRefused([&] { return call(nullptr, 10000, 10000, 'x', MIN, nullptr, nullptr); }, ILLEGAL,
                  "'pinpad' is NULL");
    expectRefused([&] { return call(pinpad(), 10000, 10000, 'x', MIN, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for usBlockOrigin: 10000 (max: 9999)");
    expectRefused([&] { return call(pinpad(), 1, 10000, 'x', MIN, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for usBlockDestination: 10000 (max: 9999)");
    expectRefused([&] { return call(pinpad(), 1, 1, 'x', MIN, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for cOperation: x");
    expectRefused([&] { return call(pinpad(), 1, 1, 'R', MIN, nullptr, nullptr); }, ILLEGAL,
                  "Invalid value for iValue: -2147483648 (min: -2147483647, max: 2147483647)");
    expectRefused([&] { return call(pinpad(), 1, 1, 'R', 0, nullptr, nullptr); }, ILLEGAL,
                  "'piValueResult' is NULL");
    expectRefused([&] { return call(pinpad(), 1, 1, 'R', 0, &m_value, nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
    EXPECT_EQ('?', m_status[0]);
}

TEST_F(Mifare, ConfigurationRepairsBinaryStatusDigits) {
    answer("MF050004R", frame(bytes("MF05") + Bytes{0x00, 0x01} + bytes("011")));
    expectOk([&] { return abecs_mf_block_config_get(pinpad(), 4, text(), status()); });
    EXPECT_STREQ("01", status());
    EXPECT_STREQ("011", text());
    // 0xFF is negative as a signed byte and gets 0x30 added; 0x0A is left.
    answer("MF050004R", frame(bytes("MF05") + Bytes{0xFF, 0x0A}));
    expectOk([&] { return abecs_mf_block_config_get(pinpad(), 4, text(), status()); });
    EXPECT_EQ('\x2F', m_status[0]);
    EXPECT_EQ('\x0A', m_status[1]);
    EXPECT_STREQ("", text());
    answer(std::string("MF050004A") + KEY + "B" + KEY_B + "100",
           frame(bytes("MF05") + Bytes{0x00, 0x09}));
    expectOk([&] { return abecs_mf_block_config_set(pinpad(), 4, KEY, KEY_B, "100", status()); });
    EXPECT_STREQ("09", status());
    answer(std::string("MF060004A") + KEY + "B" + KEY_B, frame(bytes("MF06") + Bytes{0x00, '7'}));
    expectOk([&] { return abecs_mf_key_change(pinpad(), 4, KEY, KEY_B, status()); });
    EXPECT_STREQ("07", status());
}

TEST_F(Mifare, ConfigurationAndKeysCheckTheirArgumentsInOrder) {
    const char *block = "Invalid value for usBlockAddress: 10000 (max: 9999)";
    expectRefused([&] { return abecs_mf_block_config_get(nullptr, 10000, nullptr, nullptr); },
                  ILLEGAL, "'pinpad' is NULL");
    expectRefused([&] { return abecs_mf_block_config_get(pinpad(), 10000, nullptr, nullptr); },
                  ILLEGAL, block);
    expectRefused([&] { return abecs_mf_block_config_get(pinpad(), 1, nullptr, nullptr); }, ILLEGAL,
                  "'pbConfigFlags' is NULL");
    expectRefused([&] { return abecs_mf_block_config_get(pinpad(), 1, text(), nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
    const auto set = [&](AbecsPinpad *p, int at, const char *a, const char *b, const char *flags,
                         char *s) {
        return abecs_mf_block_config_set(p, static_cast<std::uint16_t>(at), a, b, flags, s);
    };
    expectRefused([&] { return set(nullptr, 10000, nullptr, nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'pinpad' is NULL");
    expectRefused([&] { return set(pinpad(), 10000, nullptr, nullptr, nullptr, nullptr); }, ILLEGAL,
                  block);
    expectRefused([&] { return set(pinpad(), 1, nullptr, nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'szKeyA' is NULL");
    expectRefused([&] { return set(pinpad(), 1, "1", nullptr, nullptr, nullptr); }, ILLEGAL,
                  "Invalid size for szKeyA: 1 (exact: 12)");
    expectRefused([&] { return set(pinpad(), 1, KEY, nullptr, nullptr, nullptr); }, ILLEGAL,
                  "'szKeyB' is NULL");
    expectRefused([&] { return set(pinpad(), 1, KEY, "12", nullptr, nullptr); }, ILLEGAL,
                  "Invalid size for szKeyB: 12 (exact: 12)");
    expectRefused([&] { return set(pinpad(), 1, KEY, KEY_B, nullptr, nullptr); }, ILLEGAL,
                  "'pbConfigFlags' is NULL");
    expectRefused([&] { return set(pinpad(), 1, KEY, KEY_B, "10", nullptr); }, ILLEGAL,
                  "Invalid size for pbConfigFlags: 10 (exact: 3)");
    expectRefused([&] { return set(pinpad(), 1, KEY, KEY_B, "102", nullptr); }, ILLEGAL,
                  "Invalid value for pbConfigFlags: 102");
    expectRefused([&] { return set(pinpad(), 1, KEY, KEY_B, "101", nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
    expectRefused([&] { return abecs_mf_key_change(nullptr, 10000, nullptr, nullptr, nullptr); },
                  ILLEGAL, "'pinpad' is NULL");
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 10000, nullptr, nullptr, nullptr); },
                  ILLEGAL, block);
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, nullptr, nullptr, nullptr); },
                  ILLEGAL, "'szKeyA' is NULL");
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, "1", nullptr, nullptr); }, ILLEGAL,
                  "Invalid size for szKeyA: 1 (exact: 12)");
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, KEY, nullptr, nullptr); }, ILLEGAL,
                  "'szKeyB' is NULL");
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, KEY, "", nullptr); }, ILLEGAL,
                  "Invalid size for szKeyB:  (exact: 12)");
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, KEY, KEY_B, nullptr); }, ILLEGAL,
                  "'pbStatus' is NULL");
    EXPECT_EQ('?', m_status[0]);
}

TEST_F(Mifare, IsRefusedWhileACommandIsPending) {
    ASSERT_NO_FAILURE(abecs_ext_set_pending(pinpad(), "EX08"));
    for (const Command &command : commands()) {
        expectRefused(command.run, PCL_RESULT_ILLEGAL_STATE,
                      "Connection is blocked waiting for EX08 response");
        expectUntouched();
    }
}

TEST_F(Mifare, IsNotSentWithCharactersItCannotHold) {
    const char *key = "A0A1A2\rA4A5A";
    expectRefused([&] { return abecs_mf_authenticate(pinpad(), 1, 'A', key, "", status()); },
                  ILLEGAL, "Invalid character (0x0D) at position 6");
    expectRefused([&] { return abecs_mf_authenticate(pinpad(), 1, 'A', KEY, "04\x1F", status()); },
                  ILLEGAL, "Invalid character (0x1F) at position 2");
    // The other commands put the key's letter into the same text.
    const char *detail = "Invalid character (0x0D) at position 7";
    expectRefused(
        [&] { return abecs_mf_block_config_set(pinpad(), 1, key, KEY_B, "011", status()); },
        ILLEGAL, detail);
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, KEY, key, status()); }, ILLEGAL,
                  detail);
    const char *highKey = "A0A1A2A3A4A\x80";
    detail = "Invalid character (0x80) at position 12";
    expectRefused(
        [&] { return abecs_mf_block_config_set(pinpad(), 1, KEY, highKey, "011", status()); },
        ILLEGAL, detail);
    expectRefused([&] { return abecs_mf_key_change(pinpad(), 1, highKey, KEY_B, status()); },
                  ILLEGAL, detail);
    expectUntouched();
    answer("MF020001A\x80\xFF          \xA0", "MF0200");
    expectOk([&] {
        return abecs_mf_authenticate(pinpad(), 1, 'A', "\x80\xFF          ", "\xA0", status());
    });
}

TEST_F(Mifare, IsNotSentWithATextThatDoesNotFit) {
    // 11 characters go before the text.
    const std::string longest(ABECS_PACKET_CAPACITY - 11, 'F');
    std::strcpy(text(), longest.c_str());
    answer("MF03000100W" + longest, "MF0300");
    expectOk([&] { return abecs_mf_read_write(pinpad(), 'W', 1, 0, &m_length, text(), status()); });
    reset();
    std::strcpy(text(), (longest + "F").c_str());
    expectRefused(
        [&] { return abecs_mf_read_write(pinpad(), 'W', 1, 0, &m_length, text(), status()); },
        PCL_RESULT_IO_ERROR, "No enough space in buffer (available: 0, requested: 1)");
    EXPECT_EQ('?', m_status[0]);
    expectExchangeWorks();
}

TEST_F(Mifare, CopiesTheLongestAnswerWhole) {
    const std::string longest(ABECS_PACKET_CAPACITY - 6, 'A');
    answer("MF01", "MF0100" + longest);
    expectOk([&] { return abecs_mf_activate(pinpad(), text(), status()); });
    EXPECT_EQ(longest, text());
    EXPECT_EQ('?', m_text[longest.size() + 1]);
}

} // namespace
