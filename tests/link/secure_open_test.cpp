// Opening secure sessions with the virtual PIN pad, and using them.

#include "abecs/commands/close.h"
#include "abecs/commands/display.h"
#include "abecs/open.h"
#include "sim/simulator.h"
#include "tests/link/session_fixture.h"

#include <cstring>
#include <string>

namespace {

using namespace line;

class SecureOpen : public testing::Test {
protected:
    void SetUp() override { pcl_serial_set_time_divisor(TIME_DIVISOR); }

    void plugIn(const std::string &scenario) {
        m_device = std::make_unique<sim::Simulator>(scenario);
        ASSERT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device->port().c_str())));
    }
    AbecsPinpad *pinpad() { return m_pinpad.get(); }

    void expectOpens(const std::string &scenario) {
        plugIn(scenario);
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
        EXPECT_EQ(1, pinpad()->secure);
        expectSecureDisplay();
    }
    void expectSecureDisplay() {
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "HELLO")));
        EXPECT_EQ(bytes("DEX008005HELLO"), m_device->commands().back());
        EXPECT_TRUE(lastFrameWasEncrypted());
    }
    bool lastFrameWasEncrypted() {
        const std::vector<sim::WireFrame> frames = m_device->wire().frames;
        return !frames.empty() && frames.back().kind == sim::FrameKind::response &&
               frames.back().encrypted;
    }
    void expectFails(const std::string &fault, PclResult_e code, const char *detail) {
        SCOPED_TRACE(fault);
        plugIn("fault opn " + fault + "\n");
        EXPECT_FAILURE(abecs_open(pinpad(), 1), code, detail);
        EXPECT_EQ(0, pinpad()->secure);
        // The fault struck once; the same session opens at the next try.
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
        expectSecureDisplay();
    }

    std::unique_ptr<sim::Simulator> m_device;
    AbecsPinpadPtr m_pinpad;
};

TEST_F(SecureOpen, AgreesOnAKey) {
    expectOpens("session-key 30313233343536373839414243444546\n");
    EXPECT_EQ(0, std::memcmp("0123456789ABCDEF", pinpad()->sessionKey.data(), 16));
}

TEST_F(SecureOpen, SendsTheKeyAsTheProtocolWantsIt) {
    plugIn("");
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    const Bytes sent = m_device->commands().back();
    const std::string body(sent.begin(), sent.end());
    ASSERT_EQ(3U + 3 + 523, body.size());
    EXPECT_EQ("OPN5230256", body.substr(0, 10));
    EXPECT_EQ(std::string::npos, body.substr(10, 512).find_first_not_of("0123456789ABCDEF"));
    EXPECT_EQ("3010001", body.substr(522));
}

TEST_F(SecureOpen, UsesAFreshKeyPairEachTime) {
    plugIn("");
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    const Bytes first = m_device->commands().back();
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    EXPECT_NE(first, m_device->commands().back());
}

TEST_F(SecureOpen, ReplacesTheKeyOfASecureSession) {
    plugIn("");
    ASSERT_NO_FAILURE(abecs_open(pinpad(), 1));
    const auto firstKey = pinpad()->sessionKey;
    ASSERT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)));
    EXPECT_NE(firstKey, pinpad()->sessionKey);
    expectSecureDisplay();
}

TEST_F(SecureOpen, PutsBackALeadingByte0x30OfTheKeyBlock) {
    expectOpens("fault opn lead-30 1\n");
}

TEST_F(SecureOpen, PutsBackTwoLeadingBytes0x30OfTheKeyBlock) {
    plugIn("fault opn lead-30 2 always\n");
    // The device has to search for such a block, on a busy machine longer than the library waits.
    pcl_serial_set_time_divisor(1);
    PclException failure;
    for (int attempt = 0; attempt < 5; ++attempt) {
        failure = pcl_attempt([&] { EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 1)); });
        if (failure.code != PCL_RESULT_TIMEOUT_ERROR) {
            break;
        }
    }
    ASSERT_STREQ("", failure.message);
    EXPECT_EQ(1, pinpad()->secure);
    expectSecureDisplay();
}

TEST_F(SecureOpen, IsAnInvalidCallWhenNoKeyComes) {
    plugIn("fault opn empty\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVCALL, abecs_open(pinpad(), 1)));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_F(SecureOpen, RefusesAnotherBlockHeader) {
    expectFails("block-type 01", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid PCKS#1 block header");
}

TEST_F(SecureOpen, NeedsASeparatorAfterThePadding) {
    expectFails("no-separator", PCL_RESULT_IO_ERROR,
                "No enough space in buffer (available: 0, requested: 1)");
}

TEST_F(SecureOpen, RefusesAShorterKey) {
    expectFails("ksec-length 15", PCL_RESULT_PROTOCOL_ERROR,
                "(OPN) Invalid Ksec length (expected: 16, read: 15)");
}

TEST_F(SecureOpen, RefusesALongerKey) {
    expectFails("ksec-length 17", PCL_RESULT_PROTOCOL_ERROR,
                "(OPN) Invalid Ksec length (expected: 16, read: 17)");
}

TEST_F(SecureOpen, RefusesAnotherBlockLength) {
    expectFails("len1 514", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_LEN1: 514");
}

TEST_F(SecureOpen, RefusesAnotherKeyBlockLength) {
    expectFails("crkslen 255", PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid OPN_CRKSLEN: 255");
}

TEST_F(SecureOpen, RefusesAKeyBlockThatIsNoHexadecimalText) {
    plugIn("fault opn bad-hex\n");
    const PclException failure = pcl_attempt([&] { abecs_open(pinpad(), 1); });
    EXPECT_EQ(PCL_RESULT_IO_ERROR, failure.code);
    EXPECT_EQ(0U, std::string(failure.message).find("[PCL_RESULT_IO_ERROR] Invalid data: "));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_F(SecureOpen, ReturnsTheStatusOfARefusal) {
    plugIn("status OPN 011\n");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_INVPARM, abecs_open(pinpad(), 1)));
    EXPECT_EQ(0, pinpad()->secure);
}

TEST_F(SecureOpen, ChecksTheResponse) {
    plugIn("reply OPN nth 1 body \"OPN00\"\nreply OPN nth 2 id XYZ\nreply OPN nth 3 err\n");
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
    EXPECT_FAILURE(abecs_open(pinpad(), 0), PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_ID: XYZ");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 0)));
}

TEST_F(SecureOpen, OpensPlainForAnyOtherFlag) {
    plugIn("");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(pinpad(), 2)));
    EXPECT_EQ(bytes("OPN"), m_device->commands().back());
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_FAILURE(abecs_open(nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
}

TEST_F(SecureOpen, EndsWithCloseAndTravelsInClearAfterwards) {
    expectOpens("");
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_clo(pinpad(), "BYE")));
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(pinpad(), "HELLO")));
    EXPECT_FALSE(lastFrameWasEncrypted());
}

} // namespace
