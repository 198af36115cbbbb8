#include "abecs/commands/close.h"
#include "abecs/commands/display.h"
#include "tests/commands/device_fixture.h"

#include <algorithm>

namespace {

class Close : public Device {};
INSTANTIATE_TEST_SUITE_P(Channel, Close, testing::Bool(), channelName);

TEST_P(Close, CloSendsAMessageOf32Characters) {
    plugIn();
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), nullptr)));
    EXPECT_EQ("CLO032" + std::string(32, ' '), sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), "")));
    EXPECT_EQ("CLO032" + std::string(32, ' '), sent());
    EXPECT_FALSE(sentEncrypted());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), std::string(32, '\xE9').c_str())));
    EXPECT_EQ("CLO032" + std::string(32, '\xE9'), sent());
}

TEST_P(Close, CloRefusesBadMessagesUnsent) {
    plugIn();
    const std::string tooLong(33, 'x');
    const char *detail = "'msg' it too long (maximum: 32, requested: 33)";
    EXPECT_FAILURE(abecs_clo(pinpad(), tooLong.c_str()), PCL_RESULT_ILLEGAL_ARGUMENT, detail);
    EXPECT_FAILURE(abecs_clo(nullptr, tooLong.c_str()), PCL_RESULT_ILLEGAL_ARGUMENT, detail);
    EXPECT_FAILURE(abecs_clo(nullptr, "x"), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_clo(pinpad(), "a\rb"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Invalid character (0x0D) at position 1");
    expectNothingSent();
    EXPECT_EQ(GetParam() ? 1 : 0, pinpad()->secure);
}

TEST_P(Close, CloReadsTheAnswer) {
    plugIn("reply CLO nth 1 body \"CLO000\"\n"
           "reply CLO nth 2 body \"ERR010\"\n"
           "reply CLO nth 3 body \"CLO0\"\n"
           "reply CLO nth 4 body \"XYZ000\"\n"
           "reply CLO nth 5 body \"CLO014\"\n"
           "reply CLO nth 6 body \"CLO011and more\"\n");
    const auto close = [&] { return abecs_clo(pinpad(), ""); };
    EXPECT_NO_FAILURE(EXPECT_EQ(0, close()));
    EXPECT_NO_FAILURE(EXPECT_EQ(10, close()));
    EXPECT_FAILURE(close(), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_FAILURE(close(), PCL_RESULT_PROTOCOL_ERROR, "(CLO) Invalid RSP_ID: XYZ)");
    EXPECT_FAILURE(close(), PCL_RESULT_PROTOCOL_ERROR, "Unknown value for RSP_STAT: 014");
    EXPECT_NO_FAILURE(EXPECT_EQ(11, close()));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_P(Close, ClxSendsWhatIsGiven) {
    plugIn("media LOGO text \"picture\"\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), nullptr, nullptr)));
    EXPECT_EQ("CLX", sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), "", "")));
    EXPECT_EQ("CLX", sent());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), nullptr, "LOGO")));
    EXPECT_EQ("CLX012" + tagged(0x001E, "LOGO    "), sent());
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), "A\rB", "LOGO")));
    EXPECT_EQ("CLX019" + tagged(0x001E, "LOGO    ") + tagged(0x001B, "A\rB"), sent());
    const std::string longest(128, 'm');
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clx(pinpad(), longest.c_str(), nullptr)));
    EXPECT_EQ("CLX132" + tagged(0x001B, longest), sent());
}

TEST_P(Close, ClxRefusesBadTextsUnsent) {
    plugIn();
    const std::string tooLong(129, 'x');
    EXPECT_FAILURE(abecs_clx(nullptr, tooLong.c_str(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'pinpad' is NULL");
    EXPECT_FAILURE(abecs_clx(pinpad(), tooLong.c_str(), "LONGNAME9"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'dspMsg' length (129)  is greater than 128 characters");
    EXPECT_FAILURE(abecs_clx(pinpad(), "x", "LONGNAME9"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'mfName' length (9) is greater than 8 characters");
    EXPECT_FAILURE(abecs_clx(pinpad(), "x", "LO\rGO"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Invalid character (0x0D) at position 2");
    EXPECT_FAILURE(abecs_clx(pinpad(), "x\ny", nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "Invalid character (0x0A) at position 1");
    expectNothingSent();
}

TEST_P(Close, ClxReadsTheAnswer) {
    plugIn("reply CLX nth 1 body \"ERR010\"\n"
           "reply CLX nth 2 body \"CLX0\"\n"
           "reply CLX nth 3 body \"CLO000\"\n");
    const auto close = [&] { return abecs_clx(pinpad(), "x", nullptr); };
    EXPECT_NO_FAILURE(EXPECT_EQ(10, close()));
    EXPECT_FAILURE(close(), PCL_RESULT_IO_ERROR, "Invalid packet (not enough data)");
    EXPECT_FAILURE(close(), PCL_RESULT_PROTOCOL_ERROR, "(CLX) Invalid RSP_ID: CLO)");
    EXPECT_NO_FAILURE(EXPECT_EQ(0, close()));
}

TEST_P(Close, EndsTheChannelOnceAcknowledgedWhateverComesThen) {
    for (const char *id : {"CLO", "CLX"}) {
        plugIn(std::string("fault response ") + id + " silent\n");
        EXPECT_FAILURE(id == std::string("CLO") ? abecs_clo(pinpad(), "BYE")
                                                : abecs_clx(pinpad(), "BYE", nullptr),
                       PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
        EXPECT_EQ(GetParam(), sentEncrypted());
        EXPECT_EQ(0, pinpad()->secure);
        EXPECT_TRUE(std::all_of(pinpad()->sessionKey.begin(), pinpad()->sessionKey.end(),
                                [](std::uint8_t byte) { return byte == 0; }));
        EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_dex(pinpad(), "STILL HERE")));
        EXPECT_EQ("DEX013010STILL HERE", sent());
        EXPECT_FALSE(sentEncrypted());
    }
}

TEST_P(Close, KeepsTheChannelUntilAcknowledged) {
    plugIn("fault ack CLO nak times 3\nfault ack CLX nak times 3\n");
    EXPECT_FAILURE(abecs_clo(pinpad(), "BYE"), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
    EXPECT_FAILURE(abecs_clx(pinpad(), "BYE", nullptr), PCL_RESULT_PROTOCOL_ERROR,
                   "Packet was rejected");
    EXPECT_EQ(GetParam() ? 1 : 0, pinpad()->secure);
    EXPECT_NO_FAILURE(EXPECT_EQ(0, abecs_clo(pinpad(), "BYE")));
    EXPECT_EQ("CLO032BYE                             ", sent());
    EXPECT_EQ(GetParam(), sentEncrypted());
    EXPECT_EQ("BYE", device().snapshot().idle_message);
}

} // namespace
