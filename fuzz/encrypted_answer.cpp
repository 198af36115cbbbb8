// Payloads of encrypted frames, whole and right as frames: lengths, padding and checksum within the
// cipher are whatever comes out. The first byte decides whether the payload is encrypted here, so
// that the fuzzer reaches what lies behind the cipher.

#include "abecs/link.h"
#include "abecs/secure_channel.h"
#include "fuzz/memory_port.h"
#include "fuzz/session.h"
#include "sim/abecs_frame.h"
#include "sim/secure_channel.h"

#include <array>

#include <tomcrypt.h>

namespace {

constexpr std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> KEY{1, 2,  3,  4,  5,  6,  7,  8,
                                                               9, 10, 11, 12, 13, 14, 15, 16};
constexpr std::size_t BLOCK = 16;
constexpr std::size_t MOST = 2032;
// LEN and DATACRC.
constexpr std::size_t WRAPPER = 4;

// Both ends get the key.
const sim::SecureChannel &openChannel() {
    static sim::SecureChannel channel;
    channel.set_key(sim::Bytes(KEY.begin(), KEY.end()));
    abecs_pinpad_set_session_key(fuzz::session(), KEY.data());
    return channel;
}

sim::Bytes encrypted(sim::Bytes plain) {
    static const int cipher = register_cipher(&aes_desc);
    symmetric_CBC chain;
    const std::array<std::uint8_t, BLOCK> vector{};
    plain.resize((plain.size() + BLOCK - 1) / BLOCK * BLOCK);
    if (!plain.empty()) {
        FUZZ_CHECK(cbc_start(cipher, vector.data(), KEY.data(), BLOCK, 0, &chain) == CRYPT_OK);
        FUZZ_CHECK(cbc_encrypt(plain.data(), plain.data(), plain.size(), &chain) == CRYPT_OK);
        cbc_done(&chain);
    }
    return plain;
}

void receiveAnything(const sim::Bytes &payload) {
    AbecsPinpad *const pinpad = fuzz::session();
    const AbecsPacketPtr answer(abecsPacketCreate());
    const fuzz::SessionState before = fuzz::stateOf(pinpad);
    const sim::Bytes frame = sim::encode_frame(payload, true);
    memory_port::say({frame, frame, frame});
    const PclException failure =
        pcl_attempt([&] { abecs_link_receive_response(pinpad, answer.get()); });
    FUZZ_CHECK(fuzz::isAllowed(failure));
    if (!failure) {
        FUZZ_CHECK(abecsPacketAvailable(answer.get()) + WRAPPER <= payload.size());
    }
    FUZZ_CHECK(fuzz::stateOf(pinpad) == before);
}

void receiveAGoodAnswer(const sim::SecureChannel &channel) {
    AbecsPinpad *const pinpad = fuzz::session();
    const AbecsPacketPtr answer(abecsPacketCreate());
    memory_port::say({sim::encode_frame(channel.wrap({'D', 'E', 'X', '0', '0', '0'}), true)});
    const PclException failure =
        pcl_attempt([&] { abecs_link_receive_response(pinpad, answer.get()); });
    FUZZ_CHECK(!failure);
    FUZZ_CHECK(fuzz::textOf(answer.get()) == "DEX000");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0 || size > MOST) {
        return 0;
    }
    sim::Bytes payload(data + 1, data + size);
    if (data[0] % 2 == 0) {
        payload = encrypted(payload);
    }
    static const sim::SecureChannel &channel = openChannel();
    receiveAnything(payload);
    receiveAGoodAnswer(channel);
    return 0;
}
