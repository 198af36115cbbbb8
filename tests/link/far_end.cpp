#include "tests/link/far_end.h"

#include <openssl/bn.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace far_end {

using peer::bytes;
using peer::operator+;

namespace {

constexpr std::size_t BLOCK_SIZE = 256;

void require(bool condition, const char *what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

using Number = std::unique_ptr<BIGNUM, void (*)(BIGNUM *)>;

Number number(const Bytes &bytes) {
    return {BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr), BN_free};
}

std::uint16_t crc(const Bytes &bytes) {
    unsigned value = 0;
    for (const std::uint8_t byte : bytes) {
        for (unsigned bit = 0x80; bit != 0; bit >>= 1) {
            const bool in = (byte & bit) != 0;
            const bool out = (value & 0x8000) != 0;
            value = (value << 1) & 0xFFFF;
            if (in != out) {
                value ^= 0x1021;
            }
        }
    }
    return static_cast<std::uint16_t>(value);
}

Bytes fromHexText(const Bytes &text) {
    require(std::all_of(text.begin(), text.end(),
                        [](std::uint8_t digit) {
                            return (digit >= '0' && digit <= '9') || (digit >= 'A' && digit <= 'F');
                        }),
            "the modulus is no upper-case hexadecimal text");
    const std::string digits(text.begin(), text.end());
    Bytes decoded;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        decoded.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return decoded;
}

} // namespace

Bytes PublicKey::encrypt(const Bytes &block) const {
    const std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> context(BN_CTX_new(), BN_CTX_free);
    const Number result(BN_new(), BN_free);
    require(BN_mod_exp(result.get(), number(block).get(), number(exponent).get(),
                       number(modulus).get(), context.get()) == 1,
            "no power");
    Bytes encrypted(modulus.size());
    require(BN_bn2binpad(result.get(), encrypted.data(), static_cast<int>(encrypted.size())) > 0,
            "the power is too long");
    return encrypted;
}

PublicKey takeSecureOpen(peer::Peer &line) {
    line.expect({0x16});
    const Bytes head = bytes("OPN5230256");
    line.expect(head);
    const Bytes modulus = line.read(2 * BLOCK_SIZE);
    const Bytes tail = bytes("3010001");
    line.expect(tail);
    const Bytes whole = frame(head + modulus + tail);
    line.expect(Bytes(whole.end() - 3, whole.end()));
    PublicKey key{fromHexText(modulus), {0x01, 0x00, 0x01}};
    require((key.modulus.front() & 0x80) != 0, "the modulus has not 2048 bits");
    return key;
}

Bytes frame(const Bytes &body) {
    const std::uint16_t check = crc(body + Bytes{0x17});
    return Bytes{0x16} + body +
           Bytes{0x17, static_cast<std::uint8_t>(check >> 8), static_cast<std::uint8_t>(check)};
}

Bytes hexText(const Bytes &bytes) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    Bytes text;
    for (const std::uint8_t byte : bytes) {
        text.push_back(static_cast<std::uint8_t>(DIGITS[byte >> 4]));
        text.push_back(static_cast<std::uint8_t>(DIGITS[byte & 0x0F]));
    }
    return text;
}

Bytes keyBlock(const Bytes &key, std::uint8_t padding) {
    return Bytes{0x00, 0x02} + Bytes(BLOCK_SIZE - 3 - key.size(), padding) + Bytes{0x00} + key;
}

} // namespace far_end
