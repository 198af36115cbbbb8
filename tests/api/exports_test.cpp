#include "tests/api/exports_fixture.h"

namespace {

TEST_F(Exports, RunASessionInClear) {
    plugIn("capture notify \"TYPE ON\" keys 12345 enter\n");
    open(0);
    library.getClearData(7, 4, 8, 30);
    EXPECT_EQ(PINPAD_NOTIFICATION,
              library.getClearDataResponse(digits.data(), notification.data()));
    EXPECT_STREQ("TYPE ON", notification.data());
    EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), notification.data()));
    EXPECT_STREQ("12345", digits.data());
    EXPECT_EQ(PINPAD_OK, library.close("GOOD BYE"));
    expectNoFailure();
    EXPECT_EQ("CLO032GOOD BYE                        ", lastCommand());
    EXPECT_EQ("GOOD BYE", device->snapshot().idle_message);
}

TEST_F(Exports, RunASecureSession) {
    plugIn("capture keys 99 enter\n");
    open(1);
    EXPECT_TRUE(device->snapshot().secure);
    library.getClearData(7, 1, 8, 0);
    EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), nullptr));
    EXPECT_STREQ("99", digits.data());
    for (const sim::WireFrame &frame : device->wire().frames) {
        if (frame.kind == sim::FrameKind::command || frame.kind == sim::FrameKind::response) {
            const bool opening = std::string(frame.body.begin(), frame.body.begin() + 3) == "OPN";
            EXPECT_EQ(!opening, frame.encrypted);
        }
    }
    EXPECT_EQ(PINPAD_OK, library.closeExtended("BACK\rSOON", nullptr));
    expectNoFailure();
    EXPECT_EQ(std::string("CLX013\x00\x1B\x00\x09", 10) + "BACK\rSOON", lastCommand());
    EXPECT_FALSE(device->snapshot().secure);
}

TEST_F(Exports, CloseWithoutAMessageBlanksTheDisplay) {
    plugIn();
    open(0);
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    EXPECT_EQ("CLO032" + std::string(32, ' '), lastCommand());
    library.abort();
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] pinpad is NULL");
}

TEST_F(Exports, CloseRefusesATooLongMessageAndKeepsTheSession) {
    plugIn();
    open(0);
    const std::size_t before = device->commands().size();
    EXPECT_EQ(PINPAD_FAILED, library.close(std::string(33, 'x').c_str()));
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'msg' it too long (maximum: 32, requested: 33)");
    EXPECT_EQ(PINPAD_FAILED, library.close("tab\t"));
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid character (0x09) at position 3");
    EXPECT_EQ(PINPAD_FAILED, library.closeExtended(std::string(129, 'x').c_str(), nullptr));
    expectFailure(
        PINPAD_ERROR_ILLEGAL_ARGUMENT,
        "[PCL_RESULT_ILLEGAL_ARGUMENT] 'dspMsg' length (129)  is greater than 128 characters");
    EXPECT_EQ(PINPAD_FAILED, library.closeExtended(nullptr, "LONGNAME9"));
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'mfName' length (9) is greater than 8 characters");
    EXPECT_EQ(before, device->commands().size());
    EXPECT_EQ(PINPAD_OK, library.close(std::string(32, '\xE7').c_str()));
    expectNoFailure();
}

TEST_F(Exports, OpenTellsWhyItFailed) {
    EXPECT_EQ(PINPAD_FAILED, library.open(nullptr, 0));
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] 'name' is NULL");
    EXPECT_EQ(PINPAD_FAILED, library.open("no-such-port", 0));
    expectFailure(PINPAD_ERROR_FILE_NOT_FOUND,
                  "[PCL_RESULT_FILE_NOT_FOUND] No such port: no-such-port");
    EXPECT_EQ(PINPAD_FAILED, library.open("/dev/null", 0));
    expectFailure(PINPAD_ERROR_IO, "[PCL_RESULT_IO_ERROR] Invalid serial port: /dev/null");
    EXPECT_EQ(PINPAD_FAILED, library.open("/", 0));
    expectFailure(PINPAD_ERROR_IO, "[PCL_RESULT_IO_ERROR] GetCommState() error: 9");
}

TEST_F(Exports, OpenReturnsTheStatusAndKeepsTheSession) {
    plugIn("fault opn empty\n");
    EXPECT_EQ(PINPAD_STATUS_INVCALL, library.open(port().c_str(), 1));
    expectNoFailure();
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
}

TEST_F(Exports, OpeningAnOpenPortFailsAndKeepsTheSession) {
    plugIn();
    open(0);
    EXPECT_EQ(PINPAD_FAILED, library.open(port().c_str(), 0));
    expectFailure(PINPAD_ERROR_DEVICE_BUSY, "[PCL_RESULT_DEVICE_BUSY] Port is busy: " + port());
    EXPECT_EQ(PINPAD_OK, library.close("STILL HERE"));
    expectNoFailure();
}

TEST_F(Exports, OpeningAnotherPortReplacesTheSession) {
    plugIn();
    open(1);
    sim::Simulator second;
    EXPECT_EQ(PINPAD_OK, library.open(second.port().c_str(), 0));
    EXPECT_EQ(PINPAD_OK, library.close("SECOND"));
    expectNoFailure();
    EXPECT_EQ("SECOND", second.snapshot().idle_message);
    EXPECT_EQ("", device->snapshot().idle_message);
    open(0);
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
}

TEST_F(Exports, OpeningDropsASessionWhoseLineIsGone) {
    plugIn("fault response GCD unplug 4\ncapture keys 1 enter\n");
    open(0);
    const std::size_t before = openDescriptors();
    library.getClearData(1, 1, 1, 0);
    EXPECT_EQ(PINPAD_FAILED, library.getClearDataResponse(digits.data(), nullptr));
    expectFailure(PINPAD_ERROR_IO, "[PCL_RESULT_IO_ERROR] ReadFile() error: 5");
    EXPECT_EQ(PINPAD_FAILED, library.open("no-such-port", 0));
    forget();
    EXPECT_GT(before, openDescriptors());
    device->replug();
    open(0);
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
}

TEST_F(Exports, AFailedCloseKeepsTheSession) {
    plugIn("reply CLO nth 1 id XYZ\n");
    open(1);
    EXPECT_EQ(PINPAD_FAILED, library.close("BYE"));
    expectFailure(PINPAD_ERROR_PROTOCOL, "[PCL_RESULT_PROTOCOL_ERROR] (CLO) Invalid RSP_ID: XYZ)");
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    expectNoFailure();
}

TEST_F(Exports, CloseReturnsTheDevicesStatusAndEndsTheSession) {
    plugIn("status CLO 010\n");
    open(0);
    EXPECT_EQ(PINPAD_STATUS_INVCALL, library.close("BYE"));
    EXPECT_EQ(PINPAD_FAILED, library.close("BYE"));
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL");
}

TEST_F(Exports, AbortFreesABlockedSession) {
    plugIn();
    open(0);
    library.getClearData(1, 1, 8, 0);
    library.getClearData(1, 1, 8, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE,
                  "[PCL_RESULT_ILLEGAL_STATE] Connection is blocked waiting for GCD response");
    library.abort();
    expectNoFailure();
    EXPECT_EQ(1U, device->snapshot().aborts - 1); // the first one opened the session
    EXPECT_EQ(PINPAD_FAILED, library.getClearDataResponse(digits.data(), nullptr));
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, "[PCL_RESULT_ILLEGAL_STATE] GCD was not sent yet");
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
}

TEST_F(Exports, PollsSayWhenNoAnswerHasCome) {
    plugIn();
    open(0);
    library.getClearData(1, 1, 8, 0);
    EXPECT_EQ(PINPAD_NO_ANSWER, library.getClearDataResponse(digits.data(), nullptr));
    device->press("42");
    device->press_key(sim::Key::enter);
    EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), nullptr));
    EXPECT_STREQ("42", digits.data());
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
}

TEST_F(Exports, CheckTheArgumentsOfACapture) {
    plugIn();
    open(0);
    const std::size_t before = device->commands().size();
    library.getClearData(1, 33, 40, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid value for minDig: 33 (max: 32)");
    library.getClearData(1, 0, 33, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] Invalid value for maxDig: 33 (max: 32)");
    library.getClearData(1, 5, 4, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] minDig (5) > maxDig (4)");
    EXPECT_EQ(PINPAD_FAILED, library.getClearDataResponse(nullptr, nullptr));
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] 'out' is NULL");
    EXPECT_EQ(before, device->commands().size());
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
}

TEST_F(Exports, SurveysRaiseTheirOwnTextForANullText) {
    plugIn();
    open(0);
    library.surveyStart(1, 1, 4, 0, nullptr, 0, "x");
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT,
                  "[PCL_RESULT_ILLEGAL_ARGUMENT] 'sDisplayTopData' is NULL");
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
}

TEST_F(Exports, LeaveNoDescriptorBehind) {
    plugIn("capture * keys 123 enter\n");
    const auto cycle = [&] {
        open(0);
        library.getClearData(1, 1, 8, 0);
        EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), nullptr));
        EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    };
    cycle();
    const std::size_t before = openDescriptors();
    cycle();
    cycle();
    EXPECT_EQ(before, openDescriptors());
}

} // namespace
