#pragma once

#include "ext/ext_link.h"
#include "tests/link/session_fixture.h"

#include <string>

/// A session whose far end speaks the extension framing, byte by byte.
class Extension : public line::Link {
protected:
    /// STX, length, data, ETX and the XOR of them all.
    static peer::Bytes frame(const peer::Bytes &data) {
        using peer::operator+;
        const std::size_t length = data.size() + 5;
        peer::Bytes bytes = peer::Bytes{0x02, static_cast<std::uint8_t>(length >> 8),
                                        static_cast<std::uint8_t>(length & 0xFF)} +
                            data + peer::Bytes{0x03};
        std::uint8_t check = 0;
        for (const std::uint8_t byte : bytes) {
            check = static_cast<std::uint8_t>(check ^ byte);
        }
        bytes.push_back(check);
        return bytes;
    }
    static peer::Bytes frame(const std::string &data) { return frame(peer::bytes(data)); }

    /// The far end expects the request and gives the answer.
    void answer(const std::string &request, const peer::Bytes &response) {
        m_peer.play([request = frame(request), response](peer::Peer &line) {
            using peer::operator+;
            line.expect(request);
            line.write(peer::Bytes{0x06} + response);
        });
    }
    void answer(const std::string &request, const std::string &response) {
        answer(request, frame(response));
    }
    void expectNothingSent() { EXPECT_EQ(0U, bytesSent()); }
    std::size_t bytesSent() { return m_peer.waiting(); }
};
