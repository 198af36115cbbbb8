#pragma once

#include "abecs/open.h"
#include "abecs/pinpad.h"
#include "serial/time_divisor.h"
#include "tests/support/failures.h"
#include "tests/support/peer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <type_traits>

namespace wire {

using namespace std::chrono_literals;
using peer::bytes;
using peer::Bytes;
using peer::Peer;
using peer::operator+;

inline const Bytes ACK = {0x06};
inline const Bytes NAK = {0x15};
inline const Bytes CAN = {0x18};
inline const Bytes EOT = {0x04};

/// Text with the NULs that it holds.
template <std::size_t Size>
std::string text(const char (&literal)[Size]) {
    return {literal, Size - 1};
}

/// The frame in which a body travels in clear.
inline Bytes frame(const std::string &body) {
    constexpr std::uint8_t ETB = 0x17;
    unsigned crc = 0;
    for (const std::uint8_t byte : bytes(body) + Bytes{ETB}) {
        crc ^= static_cast<unsigned>(byte) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000U) != 0 ? crc << 1 ^ 0x1021U : crc << 1;
        }
    }
    Bytes framed = {0x16};
    for (const std::uint8_t byte : bytes(body)) {
        if (byte == 0x13 || byte == 0x16 || byte == 0x17) {
            framed.push_back(0x13);
            framed.push_back(static_cast<std::uint8_t>(byte + 0x20));
        } else {
            framed.push_back(byte);
        }
    }
    return framed + Bytes{ETB, static_cast<std::uint8_t>(crc >> 8), static_cast<std::uint8_t>(crc)};
}

/// The same, damaged.
inline Bytes damaged(const std::string &body) {
    Bytes framed = frame(body);
    framed.back() = static_cast<std::uint8_t>(framed.back() ^ 0xFF);
    return framed;
}

/// A plain session whose far end the test plays byte by byte.
class Wire : public testing::Test {
protected:
    // Waits of the library run this much faster: when an answer is on its way, and when none is.
    static constexpr std::uint32_t PATIENT = 4;
    static constexpr std::uint32_t HURRIED = 40;

    void SetUp() override {
        pcl_serial_set_time_divisor(PATIENT);
        m_peer.play([](Peer &line) {
            line.expect(CAN);
            line.write(EOT);
        });
        ASSERT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_peer.port().c_str())));
        m_peer.finish();
    }

    AbecsPinpad *pinpad() { return m_pinpad.get(); }

    /// No answer will come.
    void hurry() { pcl_serial_set_time_divisor(HURRIED); }
    void takeTime() { pcl_serial_set_time_divisor(PATIENT); }

    /// The far end expects the frame, and then says this.
    void answer(const Bytes &command, const Bytes &reply) {
        m_peer.finish();
        m_peer.play([command, reply](Peer &line) {
            line.expect(command);
            line.write(reply);
        });
    }
    /// The far end sends without having been asked.
    void say(const Bytes &reply) {
        m_peer.finish();
        m_peer.play([reply](Peer &line) { line.write(reply); });
        m_peer.finish();
    }
    /// The script is over, and everything that the library has sent was expected.
    void expectAllSaid() {
        m_peer.finish();
        EXPECT_EQ(0U, m_peer.waiting());
    }

    /// The call raises just this and sends nothing. Without a frame a handler that returns is told
    /// once, and what has a result returns the fallback.
    template <typename Call, typename... Fallback>
    void expectRefused(Call call, PclResult_e code, const std::string &detail,
                       Fallback... fallback) {
        SCOPED_TRACE(detail);
        EXPECT_FAILURE(call(), code, detail);
        const ScopedHandler handler;
        if constexpr (std::is_void_v<std::invoke_result_t<Call>>) {
            call();
        } else {
            EXPECT_EQ((fallback, ...), call());
        }
        EXPECT_EQ(1U, handler.count());
        EXPECT_EQ(code, handler.code());
        EXPECT_EQ(failures::text(code, detail), handler.message());
        expectAllSaid();
    }

    Peer m_peer;
    AbecsPinpadPtr m_pinpad;
};

} // namespace wire
