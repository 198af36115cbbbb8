// Creating and destroying a session, and what it keeps.

#include "abecs/open.h"
#include "core/memory.h"
#include "serial/port.h"
#include "tests/crypto/memory_scan.h"
#include "tests/link/session_fixture.h"
#include "tests/support/throws.h"

#include <array>
#include <random>
#include <string>

namespace {

using namespace line;

const std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> NO_KEY{};

class Session : public Link {
protected:
    std::string pending() { return abecs_pinpad_get_pending(pinpad()).text; }
};

TEST_F(Session, StartsIdleAndPlain) {
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ(NO_KEY, pinpad()->sessionKey);
    EXPECT_EQ("", pending());
    EXPECT_EQ(0U, abecs_pinpad_get_min_interval(pinpad()));
    EXPECT_LE(pinpad()->lastCommandTime, pcl_monotonic_millis());
    EXPECT_GT(pinpad()->lastCommandTime + 5000, pcl_monotonic_millis());
}

TEST_F(Session, ConfiguresTheLine) {
    termios line{};
    ASSERT_EQ(0, tcgetattr(pinpad()->port->handle, &line));
    EXPECT_EQ(static_cast<speed_t>(B19200), cfgetospeed(&line));
    EXPECT_EQ(static_cast<speed_t>(B19200), cfgetispeed(&line));
    EXPECT_EQ(static_cast<tcflag_t>(CS8), line.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS));
    EXPECT_EQ(0U, line.c_iflag & (IXON | IXOFF | IXANY));
    EXPECT_EQ(0U, line.c_lflag & (ICANON | ECHO | ISIG));
}

TEST_F(Session, SetsThePendingCommandOfThreeCharacters) {
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "NULL/empty 'cmdId'");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), ""), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "NULL/empty 'cmdId'");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), "GC"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'cmdId' is too long: GC");
    EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCDX"), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'cmdId' is too long: GCDX");
    EXPECT_EQ("", pending());
    EXPECT_TRUE(abecs_pinpad_check_not_blocked(pinpad()));
    EXPECT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    EXPECT_EQ("GCD", pending());
}

TEST_F(Session, RefusesASecondPendingCommand) {
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "GCD"));
    const char *blocked = "Connection is blocked waiting for GCD response";
    EXPECT_FAILURE(abecs_pinpad_check_not_blocked(pinpad()), PCL_RESULT_ILLEGAL_STATE, blocked);
    // That is checked before the identifier.
    for (const char *cmdId : {"CEX", "GCD", "GC", "", static_cast<const char *>(nullptr)}) {
        EXPECT_FAILURE(abecs_pinpad_set_pending(pinpad(), cmdId), PCL_RESULT_ILLEGAL_STATE,
                       blocked);
    }
    EXPECT_EQ("GCD", pending());
    EXPECT_NO_FAILURE(abecs_pinpad_clear_pending(pinpad()));
    EXPECT_EQ("", pending());
    EXPECT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "CEX"));
    EXPECT_EQ("CEX", pending());
}

TEST_F(Session, RequiresTheVeryCommandThatIsPending) {
    EXPECT_FAILURE(abecs_pinpad_require_pending(pinpad(), "GCD"), PCL_RESULT_ILLEGAL_STATE,
                   "GCD was not sent yet");
    ASSERT_NO_FAILURE(abecs_pinpad_set_pending(pinpad(), "CEX"));
    EXPECT_FAILURE(abecs_pinpad_require_pending(pinpad(), "GCD"), PCL_RESULT_ILLEGAL_STATE,
                   "GCD was not sent yet");
    EXPECT_NO_FAILURE(abecs_pinpad_require_pending(pinpad(), "CEX"));
}

TEST_F(Session, KeepsTheInterval) {
    abecs_pinpad_set_min_interval(pinpad(), 0x123456789ABCDEF0U);
    EXPECT_EQ(0x123456789ABCDEF0U, abecs_pinpad_get_min_interval(pinpad()));
    abecs_pinpad_set_min_interval(pinpad(), 0);
    EXPECT_EQ(0U, abecs_pinpad_get_min_interval(pinpad()));
}

TEST_F(Session, InstallsAndWipesTheKey) {
    const std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> key = {1, 2,  3,  4,  5,  6,  7,  8,
                                                                  9, 10, 11, 12, 13, 14, 15, 16};
    abecs_pinpad_set_session_key(pinpad(), key.data());
    EXPECT_EQ(1, pinpad()->secure);
    EXPECT_EQ(key, pinpad()->sessionKey);
    abecs_pinpad_set_session_key(pinpad(), nullptr);
    EXPECT_EQ(0, pinpad()->secure);
    EXPECT_EQ(NO_KEY, pinpad()->sessionKey);
}

TEST_F(Session, ChecksForANullSession) {
    const std::uint8_t key[ABECS_SESSION_KEY_SIZE] = {};
    const auto expectRefused = [](const auto &operation, const char *detail) {
        EXPECT_FAILURE(operation(), PCL_RESULT_ILLEGAL_ARGUMENT, detail);
        const ScopedHandler handler;
        operation();
        ASSERT_EQ(1U, handler.count());
        EXPECT_EQ(failures::text(PCL_RESULT_ILLEGAL_ARGUMENT, detail), handler.message());
    };
    const char *quoted = "'pinpad' is NULL";
    expectRefused([&] { abecs_pinpad_set_session_key(nullptr, key); }, "pinpad is NULL");
    expectRefused([] { abecs_pinpad_set_session_key(nullptr, nullptr); }, "pinpad is NULL");
    expectRefused([] { abecs_pinpad_set_min_interval(nullptr, 1); }, quoted);
    expectRefused([] { EXPECT_EQ(0U, abecs_pinpad_get_min_interval(nullptr)); }, quoted);
    expectRefused([] { EXPECT_FALSE(abecs_pinpad_check_not_blocked(nullptr)); }, quoted);
    expectRefused([] { abecs_pinpad_set_pending(nullptr, "GCD"); }, quoted);
    expectRefused([] { abecs_pinpad_set_pending(nullptr, nullptr); }, quoted);
    expectRefused([] { abecs_pinpad_clear_pending(nullptr); }, quoted);
    expectRefused([] { EXPECT_STREQ("", abecs_pinpad_get_pending(nullptr).text); }, quoted);
    expectRefused([] { abecs_pinpad_require_pending(nullptr, "GCD"); }, quoted);
    expectRefused([] { abecs_pinpad_store_pending(nullptr, "GCD"); }, quoted);
    expectRefused([] { abecs_pinpad_pace(nullptr); }, quoted);
    expectRefused([] { abecs_pinpad_mark_command_time(nullptr); }, quoted);
}

TEST_F(Session, RefusalsReachAHandlerThatReturnsAndChangeNothing) {
    const ScopedHandler handler;
    abecs_pinpad_set_pending(pinpad(), nullptr);
    abecs_pinpad_set_pending(pinpad(), "GC");
    EXPECT_EQ(2U, handler.count());
    EXPECT_EQ("", pending());
    abecs_pinpad_set_pending(pinpad(), "GCD");
    abecs_pinpad_set_pending(pinpad(), "CEX");
    EXPECT_FALSE(abecs_pinpad_check_not_blocked(pinpad()));
    EXPECT_EQ(4U, handler.count());
    EXPECT_EQ("GCD", pending());
}

class SessionLife : public Session {
protected:
    void SetUp() override {
        Session::SetUp();
        m_pinpad.reset();
        m_openFiles = openFiles();
    }

    void create() { m_pinpad.reset(abecs_pinpad_create(m_peer.port().c_str())); }

    void createAnswered() {
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
        });
        ASSERT_NO_FAILURE(create());
        m_peer.finish();
        EXPECT_EQ(m_openFiles + 1, openFiles());
    }

    // The port is free again: nothing stays open, and creating a session works at once.
    void expectNothingLeft() {
        m_peer.finish();
        EXPECT_EQ(nullptr, pinpad());
        EXPECT_EQ(m_openFiles, openFiles());
        createAnswered();
    }

    std::ptrdiff_t m_openFiles = 0;
};

TEST_F(SessionLife, BeginsWithOneCan) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(EOT);
        line.expectSilence(100ms);
    });
    EXPECT_NO_FAILURE(create());
    m_peer.finish();
}

TEST_F(SessionLife, TriesTheHandshakeThreeTimes) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.write(NAK);
        line.expect(CAN);
        line.write(bytes("?"));
        line.expect(CAN);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(create());
    m_peer.finish();
}

TEST_F(SessionLife, DoesNotTakeAStaleEotForTheAnswer) {
    m_peer.play([](Peer &line) {
        line.write(EOT + EOT + EOT);
        line.expect(CAN);
        line.expectSilence(PAST_ANSWER);
    });
    EXPECT_FAILURE(create(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    expectNothingLeft();
}

TEST_F(SessionLife, DrainsTheInputBeforeTheHandshake) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.write(ANSWER);
        line.pause(300ms);
        line.write(bytes("noise"));
        line.expectSilence(450ms);
        line.expect(CAN);
        line.write(EOT);
    });
    EXPECT_NO_FAILURE(create());
    m_peer.finish();
    EXPECT_EQ(0U, pcl_serial_bytes_available(pinpad()->port));
}

TEST_F(SessionLife, FreesThePortWhenNobodyAnswers) {
    pcl_serial_set_time_divisor(1);
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.expectSilence(100ms);
    });
    const Elapsed taken = timeOf(
        [&] { EXPECT_FAILURE(create(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"); });
    EXPECT_GE(taken, 2500ms);
    EXPECT_LT(taken, 3200ms);
    expectNothingLeft();
}

// The silence after which the line is drained, the wait for the answer where it is shown to the
// observer, and from there to whoever called.
TEST_F(SessionLife, AFailureIsThrownOnceForEachPlaceThatHandlesIt) {
    m_peer.play([](Peer &line) { line.expect(CAN); });
    const std::size_t before = throwsSoFar();
    EXPECT_FAILURE(create(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
    EXPECT_EQ(throwsSoFar(), before + 3);
    m_peer.finish();
}

TEST_F(SessionLife, FreesThePortAfterThreeWrongAnswers) {
    m_peer.play([](Peer &line) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            line.expect(CAN);
            line.write(NAK);
        }
        line.expectSilence(100ms);
    });
    EXPECT_FAILURE(create(), PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x15)");
    expectNothingLeft();
}

TEST_F(SessionLife, FreesThePortWhenTheLineHangsUp) {
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.hangUp();
    });
    EXPECT_FAILURE(create(), PCL_RESULT_IO_ERROR, "ReadFile() error: 5");
    m_peer.finish();
    // The far end's two descriptors went with the line.
    EXPECT_EQ(m_openFiles - 2, openFiles());
}

TEST_F(SessionLife, PassesOnWhyThePortCannotBeOpened) {
    const auto expectRefused = [&](const char *port, PclResult_e code, const char *detail) {
        EXPECT_FAILURE(abecs_pinpad_create(port), code, detail);
        EXPECT_EQ(m_openFiles, openFiles());
    };
    expectRefused(nullptr, PCL_RESULT_ILLEGAL_ARGUMENT, "'name' is NULL");
    expectRefused("no-such-port", PCL_RESULT_FILE_NOT_FOUND, "No such port: no-such-port");
    expectRefused("/dev/null", PCL_RESULT_IO_ERROR, "Invalid serial port: /dev/null");
    expectNothingLeft();
}

TEST_F(SessionLife, LeavesABusyPortToItsOwner) {
    createAnswered();
    const std::string busy = "Port is busy: " + m_peer.port();
    EXPECT_FAILURE(abecs_pinpad_create(m_peer.port().c_str()), PCL_RESULT_DEVICE_BUSY, busy);
    EXPECT_EQ(m_openFiles + 1, openFiles());
    expectUsable();
}

TEST_F(SessionLife, YieldsNoSessionWhenAHandlerLetsAFailurePass) {
    const ScopedHandler handler;
    EXPECT_EQ(nullptr, abecs_pinpad_create(nullptr));
    EXPECT_EQ(nullptr, abecs_pinpad_create("no-such-port"));
    EXPECT_EQ(2U, handler.count());
    m_peer.play([](Peer &line) {
        line.expect(CAN);
        line.expectSilence(PAST_ANSWER);
    });
    EXPECT_EQ(nullptr, abecs_pinpad_create(m_peer.port().c_str()));
    ASSERT_EQ(3U, handler.count());
    EXPECT_EQ(failures::text(PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"),
              handler.message());
    expectNothingLeft();
}

TEST_F(SessionLife, IgnoresNothingToDestroy) {
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(nullptr));
    AbecsPinpad *none = nullptr;
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(&none));
    EXPECT_EQ(nullptr, none);
}

TEST_F(SessionLife, EndsWithThePortClosed) {
    createAnswered();
    AbecsPinpad *session = m_pinpad.release();
    m_peer.play([](Peer &line) { line.expectSilence(100ms); });
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(&session));
    EXPECT_EQ(nullptr, session);
    expectNothingLeft();
}

TEST_F(SessionLife, EndsWithAnEmptyQueue) {
    createAnswered();
    m_peer.play([](Peer &line) { line.write(bytes("noise")); });
    m_peer.finish();
    waitForInput(5);
    AbecsPinpad *session = m_pinpad.release();
    EXPECT_NO_FAILURE(abecs_pinpad_destroy(&session));
    PclSerialPort *port = nullptr;
    ASSERT_NO_FAILURE(port = pcl_serial_open(m_peer.port().c_str()));
    EXPECT_NO_FAILURE(EXPECT_EQ(0U, pcl_serial_bytes_available(port)));
    EXPECT_NO_FAILURE(pcl_serial_close(&port));
}

TEST_F(SessionLife, EndsOnALineThatIsGone) {
    createAnswered();
    AbecsPinpad *session = m_pinpad.release();
    m_peer.hangUp();
    EXPECT_FAILURE(abecs_pinpad_destroy(&session), PCL_RESULT_IO_ERROR, "PurgeComm() error: 5");
    EXPECT_EQ(nullptr, session);
    EXPECT_EQ(m_openFiles - 2, openFiles());
}

// The key stands in the session and nowhere else, and not there either once it is dropped.
class SessionSecret : public Session {
protected:
    SessionSecret() {
        // The first search binds what it calls, with whatever the registers hold going to the
        // stack. There is no secret yet.
        EXPECT_EQ(0U, Secret("no such text anywhere", 21).occurrences());
    }

    Secret installRandomKey() {
        std::random_device source;
        std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> key;
        for (std::uint8_t &byte : key) {
            byte = static_cast<std::uint8_t>(source());
        }
        abecs_pinpad_set_session_key(pinpad(), key.data());
        Secret secret(key.data(), key.size());
        pcl_wipe(key.data(), key.size());
        return secret;
    }
};

TEST_F(SessionSecret, IsNowhereElseAfterAnExchange) {
    const Secret key = installRandomKey();
    EXPECT_EQ(1U, key.occurrences());
    m_peer.play([](Peer &line) {
        line.read(1);
        line.write(ACK);
        // Sixteen zeros, which this key does not decrypt to anything.
        line.write(SYN + Bytes{0x12} + Bytes(16, 0) + ETB + Bytes{0x60, 0x6A});
    });
    EXPECT_NO_FAILURE(send("DEX003000"));
    EXPECT_EQ(1U, key.occurrences());
    EXPECT_NE(PCL_RESULT_OK,
              pcl_attempt([&] { abecs_link_receive_response(pinpad(), packet()); }).code);
    EXPECT_EQ(1U, key.occurrences());
    m_peer.finish();
}

TEST_F(SessionSecret, GoesWithTheSecureChannel) {
    const Secret key = installRandomKey();
    abecs_pinpad_set_session_key(pinpad(), nullptr);
    EXPECT_EQ(0U, key.occurrences());
}

TEST_F(SessionSecret, GoesWithTheSession) {
    const Secret key = installRandomKey();
    m_pinpad.reset();
    EXPECT_EQ(0U, key.occurrences());
}

} // namespace
