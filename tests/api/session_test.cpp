// The effect of opening, aborting and closing on the session in each of its states.

#include "tests/api/exports_fixture.h"

#include <string>

namespace {

constexpr char BLOCKED[] =
    "[PCL_RESULT_ILLEGAL_STATE] Connection is blocked waiting for GCD response";
constexpr char NOT_SENT[] = "[PCL_RESULT_ILLEGAL_STATE] GCD was not sent yet";
constexpr char SILENCE[] = "[PCL_RESULT_TIMEOUT_ERROR] Timeout waiting for data";

class GlobalSession : public Exports {
protected:
    void startCapture() {
        library.getClearData(1, 1, 8, 0);
        expectNoFailure();
    }
    void expectNoCapture() {
        EXPECT_EQ(PINPAD_FAILED, library.getClearDataResponse(digits.data(), nullptr));
        expectFailure(PINPAD_ERROR_ILLEGAL_STATE, NOT_SENT);
    }
    std::size_t sentByHost() const { return device->host_bytes().size(); }
    sim::Bytes firstSent(std::size_t count) const {
        sim::Bytes sent = device->host_bytes();
        sent.resize(count);
        return sent;
    }

    // No session is created, for just this reason: the earlier one goes on and the port is free.
    void expectFailedCreation(const std::string &scenario, std::int32_t code,
                              const std::string &message) {
        SCOPED_TRACE(scenario);
        sim::Simulator faulty(scenario);
        const std::size_t before = openDescriptors();
        EXPECT_EQ(PINPAD_FAILED, library.open(faulty.port().c_str(), 1));
        expectFailure(code, message);
        EXPECT_EQ(before, openDescriptors());
        expectCapture();
        EXPECT_EQ(PINPAD_OK, library.open(faulty.port().c_str(), 1));
        EXPECT_EQ(PINPAD_OK, library.close("FREE"));
        expectNoFailure();
        EXPECT_EQ("FREE", faulty.snapshot().idle_message);
    }

    // The opening command fails, for just this reason: the new session is the global one all the
    // same, in clear, the earlier one is gone, and opening again works.
    void expectFailedOpening(const std::string &scenario, std::uint8_t secure, std::int32_t code,
                             const std::string &message) {
        SCOPED_TRACE(scenario);
        plugIn();
        open(1);
        std::unique_ptr<sim::Simulator> earlier = std::move(device);
        plugIn(scenario);
        const std::size_t before = openDescriptors();
        EXPECT_EQ(PINPAD_FAILED, library.open(port().c_str(), secure));
        expectFailure(code, message);
        EXPECT_EQ(before, openDescriptors());
        device->clear_logs();
        expectCapture();
        EXPECT_EQ((sim::Bytes{0x16, 'G', 'C', 'D'}), firstSent(4));
        open(secure);
        expectCapture();
        EXPECT_EQ(PINPAD_OK, library.close("AGAIN"));
        expectNoFailure();
        EXPECT_EQ("AGAIN", device->snapshot().idle_message);
        device = std::move(earlier);
        expectWholeSession();
    }
};

TEST_F(GlobalSession, OnlyTheFlag1OpensASecureOne) {
    plugIn();
    for (const int flag : {0, 1, 2, 128, 255}) {
        SCOPED_TRACE(flag);
        open(static_cast<std::uint8_t>(flag));
        EXPECT_EQ(flag == 1, device->snapshot().secure);
        EXPECT_EQ(flag == 1 ? "OPN523" : "OPN", lastCommand().substr(0, 6));
        EXPECT_EQ(PINPAD_OK, library.close(nullptr));
        expectNoFailure();
        EXPECT_FALSE(device->snapshot().secure);
    }
}

TEST_F(GlobalSession, BeginsWithAnAbortAndTheOpeningCommand) {
    plugIn();
    open(0);
    const sim::Bytes expected = {0x18, 0x16, 'O', 'P', 'N', 0x17, 0xA8, 0xA9};
    EXPECT_EQ(expected, device->host_bytes());
}

TEST_F(GlobalSession, AnOpenThatTheDeviceRefusesLeavesASession) {
    plugIn("status OPN 010\n");
    EXPECT_EQ(PINPAD_STATUS_INVCALL, library.open(port().c_str(), 0));
    expectNoFailure();
    EXPECT_EQ(PINPAD_FAILED, library.open(port().c_str(), 0));
    expectFailure(PINPAD_ERROR_DEVICE_BUSY, "[PCL_RESULT_DEVICE_BUSY] Port is busy: " + port());
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
}

TEST_F(GlobalSession, AFailedCreationKeepsTheEarlierOneAndFreesThePort) {
    plugIn();
    open(0);
    expectFailedCreation("fault can silent\n", PINPAD_ERROR_TIMEOUT, SILENCE);
    open(1);
    expectFailedCreation("fault can times 3 byte 15\n", PINPAD_ERROR_PROTOCOL,
                         "[PCL_RESULT_PROTOCOL_ERROR] Protocol error (expected EOT, read 0x15)");
}

TEST_F(GlobalSession, AFailedOpeningLeavesItForCommandsAndForTheNextOpen) {
    expectFailedOpening("fault ack OPN nak times 3\n", 0, PINPAD_ERROR_PROTOCOL,
                        "[PCL_RESULT_PROTOCOL_ERROR] Packet was rejected");
    expectFailedOpening("fault ack OPN silent\n", 1, PINPAD_ERROR_TIMEOUT, SILENCE);
    expectFailedOpening("fault opn block-type 01\n", 1, PINPAD_ERROR_PROTOCOL,
                        "[PCL_RESULT_PROTOCOL_ERROR] (OPN) Invalid PCKS#1 block header");
    expectFailedOpening("reply OPN nth 1 body \"OPN00\"\n", 1, PINPAD_ERROR_PROTOCOL,
                        "[PCL_RESULT_PROTOCOL_ERROR] Unrecognized response");
    expectFailedOpening("reply OPN nth 1 id XYZ\n", 0, PINPAD_ERROR_PROTOCOL,
                        "[PCL_RESULT_PROTOCOL_ERROR] (OPN) Invalid RSP_ID: XYZ");
}

TEST_F(GlobalSession, OneWhoseOpeningFailedGoesWhenAnotherPortIsOpened) {
    plugIn("fault ack OPN silent\n");
    const std::size_t before = openDescriptors();
    EXPECT_EQ(PINPAD_FAILED, library.open(port().c_str(), 0));
    expectFailure(PINPAD_ERROR_TIMEOUT, SILENCE);
    EXPECT_EQ(before + 1, openDescriptors());
    EXPECT_EQ(PINPAD_FAILED, library.open("ttyNoSuchPort7", 0));
    expectFailure(PINPAD_ERROR_FILE_NOT_FOUND,
                  "[PCL_RESULT_FILE_NOT_FOUND] No such port: ttyNoSuchPort7");
    EXPECT_EQ(before, openDescriptors());
    library.abort();
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] pinpad is NULL");
}

TEST_F(GlobalSession, ThePortWithoutANameDoesNotExist) {
    EXPECT_EQ(PINPAD_FAILED, library.open("", 0));
    expectFailure(PINPAD_ERROR_FILE_NOT_FOUND, "[PCL_RESULT_FILE_NOT_FOUND] No such port: ");
}

TEST_F(GlobalSession, AnOpenThatFindsALineGoneFails) {
    plugIn("fault can unplug\n");
    EXPECT_EQ(PINPAD_FAILED, library.open(port().c_str(), 0));
    EXPECT_EQ(1, failures);
    EXPECT_EQ(PINPAD_ERROR_IO, lastCode);
    forget();
    device->replug();
    expectWholeSession();
}

TEST_F(GlobalSession, TheSamePortCannotBeOpenedTwice) {
    plugIn();
    const std::string busy = "[PCL_RESULT_DEVICE_BUSY] Port is busy: " + port();
    open(1);
    startCapture();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(PINPAD_FAILED, library.open(port().c_str(), 0));
        expectFailure(PINPAD_ERROR_DEVICE_BUSY, busy);
    }
    EXPECT_TRUE(device->snapshot().secure);
    device->press("12");
    device->press_key(sim::Key::enter);
    EXPECT_EQ(PINPAD_OK, library.getClearDataResponse(digits.data(), nullptr));
    EXPECT_STREQ("12", digits.data());
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
    expectWholeSession();
}

TEST_F(GlobalSession, OpeningAnotherPortLeavesAPendingCommandBehind) {
    plugIn();
    open(1);
    startCapture();
    const std::size_t sent = sentByHost();
    const auto first = std::move(device);
    plugIn();
    open(0);
    EXPECT_EQ(sent, first->host_bytes().size());
    expectNoCapture();
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
}

TEST_F(GlobalSession, AnAbortOfAnIdleOneSendsOneByte) {
    plugIn();
    open(1);
    device->clear_logs();
    library.abort();
    expectNoFailure();
    EXPECT_EQ(sim::Bytes{0x18}, device->host_bytes());
    EXPECT_TRUE(device->snapshot().secure);
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
    expectNoFailure();
}

TEST_F(GlobalSession, AnAbortEndsACaptureThatHasNotified) {
    plugIn("capture notify \"TYPE ON\" live\n");
    open(1);
    startCapture();
    EXPECT_EQ(PINPAD_NOTIFICATION,
              library.getClearDataResponse(digits.data(), notification.data()));
    EXPECT_STREQ("TYPE ON", notification.data());
    library.abort();
    expectNoFailure();
    EXPECT_FALSE(device->snapshot().waiting);
    expectNoCapture();
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
}

TEST_F(GlobalSession, AnAbortThatIsNotAnsweredLeavesTheCapturePending) {
    plugIn("fault can nth 2 silent\nfault can nth 3 times 3 byte 15\n");
    open(0);
    startCapture();
    library.abort();
    expectFailure(PINPAD_ERROR_TIMEOUT, SILENCE);
    library.getClearData(1, 1, 8, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, BLOCKED);
    library.abort();
    expectFailure(PINPAD_ERROR_PROTOCOL,
                  "[PCL_RESULT_PROTOCOL_ERROR] Protocol error (expected EOT, read 0x15)");
    library.getClearData(1, 1, 8, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, BLOCKED);
    library.abort();
    expectNoFailure();
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close(nullptr));
}

TEST_F(GlobalSession, AnAbortOfALineThatIsGoneFails) {
    plugIn();
    open(0);
    device->unplug();
    library.abort();
    expectFailure(PINPAD_ERROR_IO, "[PCL_RESULT_IO_ERROR] WriteFile() error: 5");
    device->replug();
    expectWholeSession(1);
}

TEST_F(GlobalSession, APendingCommandRefusesEveryOtherAndTheClose) {
    plugIn();
    open(1);
    startCapture();
    const std::size_t sent = sentByHost();
    EXPECT_EQ(PINPAD_FAILED, library.close("BYE"));
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, BLOCKED);
    EXPECT_EQ(PINPAD_FAILED, library.closeExtended("BYE", nullptr));
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, BLOCKED);
    library.getClearData(1, 1, 8, 0);
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, BLOCKED);
    EXPECT_EQ(PINPAD_FAILED, library.activate(digits.data(), notification.data()));
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, BLOCKED);
    EXPECT_EQ(PINPAD_FAILED, library.surveyGet(digits.data()));
    expectFailure(PINPAD_ERROR_ILLEGAL_STATE, "[PCL_RESULT_ILLEGAL_STATE] EX08 was not sent yet");
    EXPECT_EQ(sent, sentByHost());
    EXPECT_TRUE(device->snapshot().secure);
    device->press_key(sim::Key::cancel);
    EXPECT_EQ(PINPAD_STATUS_CANCEL, library.getClearDataResponse(digits.data(), nullptr));
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    expectNoFailure();
    EXPECT_EQ("BYE", device->snapshot().idle_message);
}

TEST_F(GlobalSession, EndsWithEveryMessageThatFits) {
    plugIn("media LOGO text \"picture\"\n");
    const std::string full(32, 'M');
    for (const auto &[message, idle] :
         {std::pair<const char *, std::string>{nullptr, ""}, {"", ""}, {full.c_str(), full}}) {
        open(0);
        EXPECT_EQ(PINPAD_OK, library.close(message));
        std::string padded = idle;
        padded.resize(32, ' ');
        EXPECT_EQ("CLO032" + padded, lastCommand());
        EXPECT_EQ(idle, device->snapshot().idle_message);
    }
    for (const char *nothing : {static_cast<const char *>(nullptr), ""}) {
        open(0);
        EXPECT_EQ(PINPAD_OK, library.closeExtended(nothing, nothing));
        EXPECT_EQ("CLX", lastCommand());
    }
    open(1);
    EXPECT_EQ(PINPAD_OK, library.closeExtended(std::string(128, 'x').c_str(), "LOGO"));
    EXPECT_EQ(std::string("CLX144\x00\x1E\x00\x08LOGO    \x00\x1B\x00\x80", 22) +
                  std::string(128, 'x'),
              lastCommand());
    EXPECT_EQ("LOGO", device->snapshot().idle_media);
    expectNoFailure();
    expectWholeSession();
}

TEST_F(GlobalSession, ACloseThatIsNotTakenKeepsIt) {
    plugIn("fault ack CLO nak times 3\nfault ack CLX silent\n");
    open(1);
    EXPECT_EQ(PINPAD_FAILED, library.close("BYE"));
    expectFailure(PINPAD_ERROR_PROTOCOL, "[PCL_RESULT_PROTOCOL_ERROR] Packet was rejected");
    EXPECT_EQ(PINPAD_FAILED, library.closeExtended("BYE", nullptr));
    expectFailure(PINPAD_ERROR_TIMEOUT, SILENCE);
    EXPECT_TRUE(device->snapshot().secure);
    expectCapture();
    EXPECT_EQ(PINPAD_OK, library.close("BYE"));
    expectNoFailure();
}

TEST_F(GlobalSession, ACloseWithTheLineGoneKeepsItUntilTheNextOpen) {
    plugIn();
    open(0);
    device->unplug();
    EXPECT_EQ(PINPAD_FAILED, library.close("BYE"));
    expectFailure(PINPAD_ERROR_IO, "[PCL_RESULT_IO_ERROR] WriteFile() error: 5");
    EXPECT_EQ(PINPAD_FAILED, library.close("BYE"));
    expectFailure(PINPAD_ERROR_IO, "[PCL_RESULT_IO_ERROR] WriteFile() error: 5");
    device->replug();
    expectWholeSession();
}

TEST_F(GlobalSession, EndsWithTheStatusOfTheDevice) {
    plugIn("reply CLX nth 1 err status 010\nstatus CLO 013\n");
    open(0);
    EXPECT_EQ(PINPAD_STATUS_INVCALL, library.closeExtended("BYE", nullptr));
    open(1);
    EXPECT_EQ(PINPAD_STATUS_CANCEL, library.close("BYE"));
    expectNoFailure();
    library.abort();
    expectFailure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] pinpad is NULL");
}

} // namespace
