#pragma once

#include "abecs/cmd_builder.h"
#include "abecs/link.h"
#include "abecs/open.h"
#include "core/time.h"
#include "serial/time_divisor.h"
#include "tests/support/failures.h"
#include "tests/support/peer.h"
#include "tests/support/stopwatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>

namespace line {

using namespace std::chrono_literals;
using peer::bytes;
using peer::Bytes;
using peer::Peer;
using peer::operator+;

inline constexpr std::uint32_t TIME_DIVISOR = 8; // 2 s become 250 ms, 0.5 s become 62 ms

/// Longer than the library now waits for an answer of one byte, and for a response.
inline constexpr std::chrono::milliseconds PAST_ANSWER = 2000ms / TIME_DIVISOR + 100ms;
inline constexpr std::chrono::milliseconds PAST_RESPONSE = 10000ms / TIME_DIVISOR + 100ms;

inline const Bytes ACK = {0x06};
inline const Bytes NAK = {0x15};
inline const Bytes SYN = {0x16};
inline const Bytes CAN = {0x18};
inline const Bytes EOT = {0x04};
inline const Bytes ETB = {0x17};

// "DEX003000" and its answer "DEX000".
inline const Bytes COMMAND = SYN + bytes("DEX003000") + ETB + Bytes{0x38, 0xB6};
inline const Bytes ANSWER = SYN + bytes("DEX000") + ETB + Bytes{0xAC, 0x2B};

/// How many files this process has open.
inline std::ptrdiff_t openFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// A session with a far end that the test plays.
class Link : public testing::Test {
protected:
    void SetUp() override {
        pcl_serial_set_time_divisor(TIME_DIVISOR);
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
        });
        ASSERT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_peer.port().c_str())));
        m_peer.finish();
        m_packet.reset(abecsPacketCreate());
    }

    AbecsPinpad *pinpad() { return m_pinpad.get(); }
    AbecsPacket *packet() { return m_packet.get(); }

    void put(const Bytes &body) {
        abecsPacketClear(packet());
        abecsFieldPutBytes(packet(), body.data(), body.size());
    }
    Bytes content() {
        Bytes body(abecsPacketAvailable(packet()));
        abecsFieldGetBytes(packet(), body.data(), body.size(), body.size());
        return body;
    }
    void send(const char *body) {
        put(bytes(body));
        abecs_link_send_command(pinpad(), packet());
    }

    void expectSent(const Bytes &body, const Bytes &frame) {
        m_peer.play([frame](Peer &line) {
            line.expect(frame);
            line.write(ACK);
            line.expectSilence(50ms);
        });
        put(body);
        EXPECT_NO_FAILURE(abecs_link_send_command(pinpad(), packet()));
        EXPECT_EQ(body, content());
        m_peer.finish();
    }

    // The frame is taken at the first go, and no acknowledgement of it is sent.
    void expectReceived(const Bytes &frame, const Bytes &body) {
        m_peer.play([frame](Peer &line) {
            line.write(frame);
            line.expectSilence(50ms);
        });
        EXPECT_NO_FAILURE(EXPECT_EQ(packet(), abecs_link_receive_response(pinpad(), packet())));
        EXPECT_EQ(body, content());
        m_peer.finish();
    }

    // Bytes that the far end has sent are there to be read.
    void waitForInput(std::size_t count) {
        for (int i = 0; i < 500 && pcl_serial_bytes_available(pinpad()->port) < count; ++i) {
            pcl_sleep_millis(2);
        }
        ASSERT_EQ(count, pcl_serial_bytes_available(pinpad()->port));
    }

    // The far end has said this before the next command begins.
    void lieOnLine(const Bytes &input) {
        m_peer.finish();
        m_peer.play([input](Peer &line) { line.write(input); });
        m_peer.finish();
        waitForInput(input.size());
    }

    // After whatever came before, a plain exchange works.
    void expectUsable() {
        m_peer.finish();
        m_peer.play([](Peer &line) {
            line.expect(COMMAND);
            line.write(ACK + ANSWER);
        });
        put(bytes("DEX003000"));
        EXPECT_NO_FAILURE(abecs_link_exchange(pinpad(), packet()));
        EXPECT_EQ(bytes("DEX000"), content());
        abecs_pinpad_settle(pinpad());
        m_peer.finish();
    }

    Peer m_peer;
    AbecsPinpadPtr m_pinpad;
    AbecsPacketPtr m_packet;
};

} // namespace line
