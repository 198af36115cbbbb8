// Bytes of the line, silences among them, where the ABECS link waits for an answer.

#include "abecs/link.h"
#include "fuzz/memory_port.h"
#include "fuzz/session.h"
#include "sim/abecs_frame.h"

#include <algorithm>

namespace {

void receiveAnything(const std::uint8_t *data, std::size_t size) {
    AbecsPinpad *const pinpad = fuzz::session();
    const AbecsPacketPtr answer(abecsPacketCreate());
    abecs_pinpad_set_pending(pinpad, "GCX");
    const fuzz::SessionState before = fuzz::stateOf(pinpad);
    memory_port::sayInput(data, size);
    const PclException failure =
        pcl_attempt([&] { abecs_link_receive_response(pinpad, answer.get()); });
    FUZZ_CHECK(fuzz::isAllowed(failure));
    FUZZ_CHECK(abecsPacketAvailable(answer.get()) <= ABECS_PACKET_CAPACITY);
    FUZZ_CHECK(fuzz::stateOf(pinpad) == before);
    // Nothing but a NAK for each attempt goes out.
    const auto &written = memory_port::written();
    FUZZ_CHECK(written.size() <= 3);
    FUZZ_CHECK(std::all_of(written.begin(), written.end(), [](auto byte) { return byte == 0x15; }));
}

void receiveAGoodAnswer() {
    AbecsPinpad *const pinpad = fuzz::session();
    const AbecsPacketPtr answer(abecsPacketCreate());
    abecs_pinpad_clear_pending(pinpad);
    memory_port::say({sim::encode_frame({'D', 'E', 'X', '0', '0', '0'}, false)});
    const PclException failure =
        pcl_attempt([&] { abecs_link_receive_response(pinpad, answer.get()); });
    FUZZ_CHECK(!failure);
    FUZZ_CHECK(fuzz::textOf(answer.get()) == "DEX000");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    receiveAnything(data, size);
    receiveAGoodAnswer();
    return 0;
}
