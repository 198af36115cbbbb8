// Every export without a session: before the first one is opened, and after one is closed.

#include "tests/api/exports_fixture.h"

#include <functional>
#include <string>
#include <vector>

namespace {

class Sessionless : public Exports {
protected:
    struct Call {
        const char *name;
        std::function<std::int32_t()> call;
    };

    template <typename Body>
    static std::function<std::int32_t()> withoutResult(Body body) {
        return [body] {
            body();
            return PINPAD_FAILED;
        };
    }

    // Arguments that nothing but the missing session is wrong with.
    std::vector<Call> everyCall() {
        const char *key = "0123456789AB";
        return {
            {"PP_Close", [&] { return library.close("BYE"); }},
            {"PP_CloseExtended", [&] { return library.closeExtended("BYE", "LOGO"); }},
            {"abecsGetClearData", withoutResult([&] { library.getClearData(1, 4, 8, 30); })},
            {"abecsGetClearDataResponse", [&] { return library.getClearDataResponse(out, out); }},
            {"taviskMF_Activate", [&] { return library.activate(out, status); }},
            {"taviskMF_Authenticate",
             [=, this] { return library.authenticate(1, 'A', key, "01020304", status); }},
            {"taviskMF_ReadWrite",
             [&] { return library.readWrite('R', 1, 0, &length, out, status); }},
            {"taviskMF_ValueCommand",
             [&] { return library.valueCommand(1, 2, 'R', 0, &value, status); }},
            {"taviskMF_BlockConfigGet", [&] { return library.blockConfigGet(1, out, status); }},
            {"taviskMF_BlockConfigSet",
             [=, this] { return library.blockConfigSet(1, key, key, "010", status); }},
            {"taviskMF_KeyChange", [=, this] { return library.keyChange(1, key, key, status); }},
            {"taviskQRCode", withoutResult([&] { library.qrCode(10, '1', "PAY", "code"); })},
            {"taviskQRCode_response", [&] { return library.qrCodeResponse(&result); }},
            {"taviskSURVEY_Start",
             withoutResult([&] { library.surveyStart(1, 10, 4, 0, "top", 0, "bottom"); })},
            {"taviskSURVEY_Get", [&] { return library.surveyGet(out); }},
            {"taviskSURVEY_Stop", [&] { return library.surveyStop(); }},
            {"taviskCXSurveys_Start", withoutResult([&] {
                 library.cxSurveysStart('1', '1', '1', "010", "010", "a", "b", "c", "d", "e");
             })},
            {"taviskCXSurveys_Get", [&] { return library.cxSurveysGet(out); }},
            {"taviskCXSurveys_Stop", [&] { return library.cxSurveysStop(); }},
        };
    }

    void expectEveryCallFails() {
        for (const Call &each : everyCall()) {
            SCOPED_TRACE(each.name);
            EXPECT_EQ(PINPAD_FAILED, each.call());
            expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                          "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL");
        }
        library.abort();
        expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                      "[PCL_RESULT_ILLEGAL_ARGUMENT] pinpad is NULL");
    }

    char out[PINPAD_MF_TEXT_SIZE] = {};
    char status[PINPAD_MF_STATUS_SIZE] = {};
    std::uint32_t length = 1;
    std::int32_t value = 0;
    std::uint8_t result = 0;
};

TEST_F(Sessionless, EveryCallFailsBeforeTheFirstSession) {
    expectEveryCallFails();
    plugIn();
    expectWholeSession();
}

TEST_F(Sessionless, EveryCallFailsAfterASession) {
    plugIn();
    open(1);
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    const std::size_t sent = device->host_bytes().size();
    expectEveryCallFails();
    EXPECT_EQ(sent, device->host_bytes().size());
    open(0);
    EXPECT_EQ(PINPAD_OK, library.closeExtended(nullptr, nullptr));
    expectNoFailure();
    expectEveryCallFails();
    expectWholeSession(1);
}

TEST_F(Sessionless, EveryCallFailsAfterAFailedOpen) {
    EXPECT_EQ(PINPAD_FAILED, library.open("no-such-port", 0));
    forget();
    expectEveryCallFails();
}

} // namespace
