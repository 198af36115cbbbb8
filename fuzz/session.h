#pragma once

#include "abecs/pinpad.h"
#include "fuzz/check.h"
#include "fuzz/memory_port.h"

namespace fuzz {

/// A session on the port in memory, the same for all inputs. Opens it at the first call, which
/// takes what is laid down at the port.
inline AbecsPinpad *session() {
    static AbecsPinpad *const pinpad = [] {
        constexpr std::uint8_t EOT = 0x04;
        // Silence where the line is drained, then the answer to the abort.
        memory_port::say({{}, {EOT}});
        AbecsPinpad *opened = nullptr;
        const PclFailure failure = pcl_attempt([&] { opened = abecs_pinpad_create("memory"); });
        FUZZ_CHECK(!failure);
        FUZZ_CHECK(opened != nullptr);
        return opened;
    }();
    return pinpad;
}

} // namespace fuzz
