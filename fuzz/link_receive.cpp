// Bytes of the line, silences among them, where the ABECS link waits for an answer.

#include "abecs/link.h"
#include "fuzz/memory_port.h"
#include "fuzz/session.h"
#include "sim/abecs_frame.h"

#include <algorithm>
#include <string>

namespace {

void receiveAnything(const std::uint8_t *data, std::size_t size) {
    AbecsPinpad *const pinpad = fuzz::session();
    const AbecsPacketPtr answer(abecsPacketCreate());
    memory_port::sayInput(data, size);
    const PclFailure failure =
        pcl_attempt([&] { abecs_link_receive_response(pinpad, answer.get()); });
    FUZZ_CHECK(!failure || fuzz::isFailureOfTheDevice(failure));
    FUZZ_CHECK(abecsPacketAvailable(answer.get()) <= ABECS_PACKET_CAPACITY);
    // Nothing but a NAK for each attempt goes out.
    const auto &written = memory_port::written();
    FUZZ_CHECK(written.size() <= 3);
    FUZZ_CHECK(std::all_of(written.begin(), written.end(), [](auto byte) { return byte == 0x15; }));
}

void receiveAGoodAnswer() {
    AbecsPinpad *const pinpad = fuzz::session();
    const AbecsPacketPtr answer(abecsPacketCreate());
    memory_port::say({sim::encode_frame({'D', 'E', 'X', '0', '0', '0'}, false)});
    const PclFailure failure =
        pcl_attempt([&] { abecs_link_receive_response(pinpad, answer.get()); });
    FUZZ_CHECK(!failure);
    std::string body;
    while (abecsPacketAvailable(answer.get()) > 0) {
        body.push_back(static_cast<char>(abecsPacketReadByte(answer.get())));
    }
    FUZZ_CHECK(body == "DEX000");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    receiveAnything(data, size);
    receiveAGoodAnswer();
    return 0;
}
