// What the exports add to the commands: they measure texts, and cut numbers to their width.

#include "pinpad/pinpad.h"
#include "tests/ext/frame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <dlfcn.h>
#include <stdexcept>
#include <string>

namespace {

using extension::frame;
using peer::bytes;
using peer::Bytes;
using peer::Peer;
using peer::operator+;

class ExtExports : public testing::Test {
protected:
    void SetUp() override {
        m_library = dlopen(PINPAD_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, m_library) << dlerror();
        find<decltype(pcl_exception_set_uncaught_handler)>("pcl_exception_set_uncaught_handler")(
            record);
        told() = {};
        m_peer.play([](Peer &line) {
            line.expect({0x18});
            line.write({0x04});
            line.expect(Bytes{0x16} + bytes("OPN") + Bytes{0x17, 0xA8, 0xA9});
            line.write(Bytes{0x06, 0x16} + bytes("OPN000") + Bytes{0x17, 0x77, 0x5E});
        });
        ASSERT_EQ(PINPAD_OK, find<decltype(PP_Open)>("PP_Open")(m_peer.port().c_str(), 0))
            << told().message;
        m_peer.finish();
    }

    template <typename Function>
    Function *find(const char *name) {
        void *symbol = dlsym(m_library, name);
        if (symbol == nullptr) {
            throw std::runtime_error(std::string("no export ") + name);
        }
        return reinterpret_cast<Function *>(symbol);
    }

    template <typename Call>
    void expectSent(const std::string &request, Call call) {
        m_peer.play([&](Peer &line) {
            line.expect(frame(request));
            line.write({0x06});
        });
        call();
        m_peer.finish();
        EXPECT_EQ("", told().message);
    }

    template <typename Call>
    void expectRefused(Call call, std::int32_t code, const char *message) {
        call();
        EXPECT_EQ(1, told().times);
        EXPECT_EQ(code, told().code);
        EXPECT_EQ(message, told().message);
        EXPECT_EQ(0U, m_peer.waiting());
        told() = {};
    }

    struct Told {
        int times = 0;
        std::int32_t code = 0;
        std::string message;
    };
    static Told &told() {
        static Told instance;
        return instance;
    }
    static void PINPAD_CALL record(std::int32_t code, const char *message) {
        told() = {told().times + 1, code, message};
    }

    // Never unloaded: it holds a session.
    void *m_library = nullptr;
    Peer m_peer;
};

TEST_F(ExtExports, QrCodeMeasuresItsTexts) {
    const auto start = find<decltype(taviskQRCode)>("taviskQRCode");
    expectRefused([&] { start(0x100000005, '0', "", ""); }, PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid value for usTimeout: 5 (max: 999)");
    expectRefused([&] { start(5, '0', "123456789012345678901", ""); },
                  PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid value for iLineLen: 21 (max: 20)");
    const std::string tooLong(10000, 'q');
    expectRefused([&] { start(5, '0', "", tooLong.c_str()); }, PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid value for iQRCodeLen: 10000 (max: 9999)");
    expectSent("QR010052040003LINEabc", [&] { start(5, '2', "LINE", "abc"); });
    std::uint8_t result = 0;
    m_peer.play([](Peer &line) { line.write(frame("QR01x")); });
    EXPECT_EQ(PINPAD_OK, find<decltype(taviskQRCode_response)>("taviskQRCode_response")(&result));
    m_peer.finish();
    EXPECT_EQ('x', result);
    expectSent("QR010050000000", [&] { start(5, '0', nullptr, nullptr); });
}

TEST_F(ExtExports, SurveyUsesTheLow16BitsOfItsCode) {
    const auto start = find<decltype(taviskSURVEY_Start)>("taviskSURVEY_Start");
    expectRefused([&] { start(1, 1, 4, 0, nullptr, 0, nullptr); }, PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'sDisplayTopData' is NULL");
    expectRefused([&] { start(1, 1, 4, 0, "", 0, nullptr); }, PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'sDisplayBottomData' is NULL");
    expectSent("EX08234500540003TOP2006bottom",
               [&] { start(0x12345, 5, 4, 0, "TOP", 2, "bottom"); });
    m_peer.play([](Peer &line) {
        line.expect({0x04});
        line.write(frame("EX0807"));
    });
    EXPECT_EQ(PINPAD_OK, find<decltype(taviskSURVEY_Stop)>("taviskSURVEY_Stop")());
    m_peer.finish();
    expectSent("EX081A2B999800000000", [&] { start(0x1A2B, 999, 8, 0, "", 0, ""); });
}

TEST_F(ExtExports, SurveyCutsTheLengthsOfItsTexts) {
    const std::string text(0x10005, 't'); // measures as 5, but is written whole
    expectRefused(
        [&] {
            find<decltype(taviskSURVEY_Start)>("taviskSURVEY_Start")(1, 1, 4, 0, text.c_str(), 0,
                                                                     "");
        },
        PINPAD_ERROR_IO,
        "[PCL_RESULT_IO_ERROR] No enough space in buffer (available: 0, requested: 1)");
}

TEST_F(ExtExports, CxSurveyTakesFiveTexts) {
    const auto start = find<decltype(taviskCXSurveys_Start)>("taviskCXSurveys_Start");
    expectRefused([&] { start('0', '0', '0', "000", "000", "", "", nullptr, "", ""); },
                  PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'sMsgData3' is NULL");
    expectRefused([&] { start('0', '0', '0', nullptr, "000", "", "", "", "", ""); },
                  PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid size for sTimeOut:  (exact: 3)");
    expectSent("EX10123045067abcde",
               [&] { start('1', '2', '3', "045", "067", "a", "b", "c", "d", "e"); });
    m_peer.play([](Peer &line) {
        line.expect({0x04});
        line.write(frame("EX10123"));
    });
    EXPECT_EQ(PINPAD_OK, find<decltype(taviskCXSurveys_Stop)>("taviskCXSurveys_Stop")());
    m_peer.finish();
}

} // namespace
