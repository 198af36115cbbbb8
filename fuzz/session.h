#pragma once

#include "abecs/open.h"
#include "abecs/packet.h"
#include "abecs/pinpad.h"
#include "fuzz/check.h"
#include "fuzz/memory_port.h"

#include <array>
#include <string>

namespace fuzz {

/// A session on the port in memory, the same for all inputs. Opens it at the first call, which
/// takes what is laid down at the port.
inline AbecsPinpad *session() {
    static AbecsPinpad *const pinpad = [] {
        constexpr std::uint8_t EOT = 0x04;
        // Silence where the line is drained, then the answer to the abort.
        memory_port::say({{}, {EOT}});
        AbecsPinpad *opened = nullptr;
        const PclException failure = pcl_attempt([&] { opened = abecs_pinpad_create("memory"); });
        FUZZ_CHECK(!failure);
        FUZZ_CHECK(opened != nullptr);
        return opened;
    }();
    return pinpad;
}

/// What a received frame may not change.
struct SessionState {
    std::string pending;
    std::uint8_t secure;
    std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> key;

    bool operator==(const SessionState &) const = default;
};

inline SessionState stateOf(AbecsPinpad *pinpad) {
    return {abecs_pinpad_get_pending(pinpad).text, pinpad->secure, pinpad->sessionKey};
}

/// The text that a packet still holds.
inline std::string textOf(AbecsPacket *packet) {
    std::string text;
    while (abecsPacketAvailable(packet) > 0) {
        text.push_back(static_cast<char>(abecsPacketReadByte(packet)));
    }
    return text;
}

} // namespace fuzz
