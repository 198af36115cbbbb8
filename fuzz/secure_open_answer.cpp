// Answers to a secure OPN. The first byte chooses between a whole answer and the block that carries
// the session key, as it is behind the private key: exponentiation is left out here, since it would
// let a fuzzer reach neither.

#include "abecs/crypto/rsa.h"
#include "abecs/open.h"
#include "fuzz/memory_port.h"
#include "fuzz/session.h"
#include "sim/abecs_frame.h"

#include <algorithm>
#include <array>
#include <cstring>

struct PclRsaKey {};

PclRsaKey *pcl_rsa_key_generate(int, std::int32_t) {
    static PclRsaKey key;
    return &key;
}

void pcl_rsa_key_destroy(PclRsaKey **key) {
    *key = nullptr;
}

void pcl_rsa_export_public(const PclRsaKey *, PclRsaPublicKey *out) {
    out->szN = PCL_RSA_MAX_MODULUS_SIZE;
    std::fill(std::begin(out->N), std::end(out->N), std::uint8_t{0xA5});
    out->sze = 3;
    out->e[0] = 1;
    out->e[1] = 0;
    out->e[2] = 1;
}

std::size_t pcl_rsa_private_raw(const PclRsaKey *, const std::uint8_t *in, std::size_t length,
                                std::uint8_t *out, std::size_t capacity) {
    FUZZ_CHECK(length == PCL_RSA_MAX_MODULUS_SIZE);
    FUZZ_CHECK(capacity >= length);
    std::memmove(out, in, length);
    return length;
}

namespace {

using Block = std::array<std::uint8_t, PCL_RSA_MAX_MODULUS_SIZE>;

constexpr std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> EARLIER{7, 7, 7, 7, 7, 7, 7, 7,
                                                                   7, 7, 7, 7, 7, 7, 7, 7};

sim::Bytes answerWith(const Block &block) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    constexpr char HEADER[] = "OPN000515256";
    sim::Bytes answer(std::begin(HEADER), std::end(HEADER) - 1);
    for (const std::uint8_t byte : block) {
        answer.push_back(static_cast<std::uint8_t>(DIGITS[byte >> 4U]));
        answer.push_back(static_cast<std::uint8_t>(DIGITS[byte & 0xFU]));
    }
    return answer;
}

// Whether the block carries a session key; where it does, this is the key.
bool carries(const Block &block, std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> &key) {
    if (block[0] != 0 || block[1] != 2) {
        return false;
    }
    const auto *separator = std::find(block.begin() + 2, block.end(), 0);
    if (block.end() - separator != static_cast<std::ptrdiff_t>(key.size()) + 1) {
        return false;
    }
    std::copy(separator + 1, block.end(), key.begin());
    return true;
}

PclException open(const sim::Bytes &answer, AbecsRspStat_e &status, std::uint8_t &keyInstalled) {
    constexpr std::uint8_t ACK = 0x06;
    sim::Bytes frame = sim::encode_frame(answer, false);
    const sim::Bytes repeated = frame;
    frame.insert(frame.begin(), ACK);
    memory_port::say({frame, repeated, repeated});
    return pcl_attempt([&] { status = abecs_open_secure(fuzz::session(), &keyInstalled); });
}

void takeAnAnswer(const sim::Bytes &answer) {
    AbecsPinpad *const pinpad = fuzz::session();
    abecs_pinpad_set_session_key(pinpad, EARLIER.data());
    const fuzz::SessionState before = fuzz::stateOf(pinpad);
    AbecsRspStat_e status = ABECS_RSP_STAT_ST_INTERR;
    std::uint8_t keyInstalled = 0;
    const PclException failure = open(answer, status, keyInstalled);
    FUZZ_CHECK(fuzz::isAllowed(failure));
    FUZZ_CHECK(!failure || keyInstalled == 0);
    if (keyInstalled == 0) {
        FUZZ_CHECK(fuzz::stateOf(pinpad) == before);
    }
    FUZZ_CHECK(pinpad->secure == 1);
}

void takeABlock(const Block &block) {
    AbecsPinpad *const pinpad = fuzz::session();
    abecs_pinpad_set_session_key(pinpad, EARLIER.data());
    AbecsRspStat_e status = ABECS_RSP_STAT_ST_INTERR;
    std::uint8_t keyInstalled = 0;
    const PclException failure = open(answerWith(block), status, keyInstalled);
    std::array<std::uint8_t, ABECS_SESSION_KEY_SIZE> key = EARLIER;
    const bool carried = carries(block, key);
    FUZZ_CHECK(!failure == carried);
    FUZZ_CHECK(fuzz::isAllowed(failure));
    FUZZ_CHECK(keyInstalled == (carried ? 1 : 0));
    FUZZ_CHECK(pinpad->sessionKey == key);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t MOST = 2044;
    if (size == 0 || size > MOST) {
        return 0;
    }
    if (data[0] % 2 == 0) {
        takeAnAnswer(sim::Bytes(data + 1, data + size));
        return 0;
    }
    // What is missing is the padding in front of the key.
    Block block;
    block.fill(0xFF);
    const std::size_t given = std::min(size - 1, block.size());
    const std::size_t head = std::min<std::size_t>(given, 2);
    std::copy_n(data + 1, head, block.begin());
    std::copy_n(data + 1 + head, given - head,
                block.end() - static_cast<std::ptrdiff_t>(given - head));
    takeABlock(block);
    return 0;
}
