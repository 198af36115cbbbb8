#pragma once

#include "ext/ext_link.h"
#include "tests/ext/frame.h"
#include "tests/link/session_fixture.h"

#include <string>
#include <type_traits>

/// A session whose far end speaks the extension framing, byte by byte.
class Extension : public line::Link {
protected:
    /// The far end expects the request and gives the answer.
    void answer(const std::string &request, const peer::Bytes &response) {
        m_peer.play([request = extension::frame(request), response](peer::Peer &line) {
            using peer::operator+;
            line.expect(request);
            line.write(peer::Bytes{0x06} + response);
        });
    }
    void answer(const std::string &request, const std::string &response) {
        answer(request, extension::frame(response));
    }
    void expectNothingSent() { EXPECT_EQ(0U, bytesSent()); }
    std::size_t bytesSent() { return m_peer.waiting(); }

    /// The call raises just this and sends nothing. A handler that returns is told once, and what
    /// has a result returns -1.
    template <typename Call>
    void expectRefused(Call call, PclResult_e code, const std::string &detail) {
        SCOPED_TRACE(detail);
        EXPECT_FAILURE(call(), code, detail);
        const ScopedHandler handler;
        if constexpr (std::is_void_v<std::invoke_result_t<Call>>) {
            call();
        } else {
            EXPECT_EQ(-1, call());
        }
        EXPECT_EQ(1U, handler.count());
        EXPECT_EQ(code, handler.code());
        EXPECT_EQ(failures::text(code, detail), handler.message());
        expectNothingSent();
    }

    /// After whatever came before, a complete exchange works.
    void expectExchangeWorks() {
        m_peer.finish();
        answer("MF01", "MF0100");
        put(peer::bytes("MF01"));
        EXPECT_NO_FAILURE(abecs_ext_exchange(pinpad(), packet()));
        EXPECT_EQ(peer::bytes("MF0100"), content());
        m_peer.finish();
    }
};
