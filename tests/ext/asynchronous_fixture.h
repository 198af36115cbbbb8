#pragma once

#include "tests/ext/ext_fixture.h"

#include <array>
#include <cstdint>
#include <string>

/// The commands that start, are polled, and block the session meanwhile.
class Asynchronous : public Extension {
protected:
    static constexpr auto ILLEGAL = PCL_RESULT_ILLEGAL_ARGUMENT;

    /// The far end expects the request and acknowledges it.
    void acknowledge(const std::string &request) { answer(request, peer::Bytes{}); }

    /// The far end has answered before the next poll.
    void respond(const peer::Bytes &bytes) {
        m_peer.finish();
        m_peer.play([bytes](peer::Peer &line) { line.write(bytes); });
        m_peer.finish();
    }
    void respond(const std::string &data) { respond(extension::frame(data)); }

    std::string pending() { return abecs_pinpad_get_pending(pinpad()).text; }

    /// Starting fails whenever the request is not acknowledged, and then nothing is pending.
    template <typename Start>
    void expectPendingOnlyWhenAcknowledged(const std::string &request, Start start) {
        m_peer.play([request](peer::Peer &line) { line.expect(extension::frame(request)); });
        EXPECT_FAILURE(start(), PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data");
        m_peer.finish();
        EXPECT_EQ("", pending());
        m_peer.play([request](peer::Peer &line) {
            for (int attempt = 0; attempt < 3; ++attempt) {
                line.expect(extension::frame(request));
                line.write(line::NAK);
            }
        });
        EXPECT_FAILURE(start(), PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected");
        m_peer.finish();
        EXPECT_EQ("", pending());
        expectExchangeWorks();
    }

    /// While the command is pending nothing else can be sent, and nothing is.
    template <typename Start>
    void expectBlocks(const std::string &cmdId, Start start) {
        const std::string text = "Connection is blocked waiting for " + cmdId + " response";
        EXPECT_EQ(cmdId, pending());
        expectRefused(start, PCL_RESULT_ILLEGAL_STATE, text);
        put(peer::bytes("MF01"));
        expectRefused([&] { abecs_ext_send_packet(pinpad(), packet()); }, PCL_RESULT_ILLEGAL_STATE,
                      text);
        expectRefused([&] { send("DEX003000"); }, PCL_RESULT_ILLEGAL_STATE, text);
        EXPECT_EQ(cmdId, pending());
    }

    /// Damaged answers, three in a row, count as no answer yet.
    template <typename Poll>
    void expectNoAnswerFromDamagedFrames(Poll poll) {
        const std::string before = pending();
        m_peer.play([](peer::Peer &line) {
            for (int attempt = 0; attempt < 3; ++attempt) {
                line.write({0x02, 0x00, 0x06, 'A', 0x03, 0x00});
                line.expect(line::NAK);
            }
        });
        EXPECT_NO_FAILURE(EXPECT_EQ(-1, poll()));
        m_peer.finish();
        EXPECT_EQ(before, pending());
    }
};
