#include "sim/secure_channel.h"

#include "sim/crc16.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace sim {

namespace {

constexpr std::size_t block_size = 16;
constexpr std::size_t header_size = 4;

struct CipherContextDeleter {
    void operator()(EVP_CIPHER_CTX *context) const { EVP_CIPHER_CTX_free(context); }
};

std::size_t padded_size(std::size_t size) {
    return size / block_size * block_size + block_size;
}

Bytes run_cipher(const std::uint8_t *key, const Bytes &in, bool encrypt) {
    const std::array<std::uint8_t, block_size> zero_vector{};
    const std::unique_ptr<EVP_CIPHER_CTX, CipherContextDeleter> context(EVP_CIPHER_CTX_new());
    Bytes out(in.size() + block_size);
    int length = 0;
    const bool done = context != nullptr &&
                      EVP_CipherInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key,
                                        zero_vector.data(), encrypt ? 1 : 0) == 1 &&
                      EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
                      EVP_CipherUpdate(context.get(), out.data(), &length, in.data(),
                                       static_cast<int>(in.size())) == 1;
    if (!done) {
        throw std::runtime_error("AES failed");
    }
    out.resize(static_cast<std::size_t>(length));
    return out;
}

void put_u16(Bytes &out, std::size_t at, std::uint16_t number) {
    out[at] = static_cast<std::uint8_t>(number >> 8);
    out[at + 1] = static_cast<std::uint8_t>(number & 0xFF);
}

std::uint16_t get_u16(const Bytes &in, std::size_t at) {
    return static_cast<std::uint16_t>(in[at] << 8 | in[at + 1]);
}

} // namespace

void SecureChannel::set_key(const Bytes &key) {
    if (key.size() != key_size) {
        throw std::invalid_argument("a session key has 16 bytes");
    }
    std::copy(key.begin(), key.end(), key_.begin());
    on_ = true;
}

void SecureChannel::wipe() {
    OPENSSL_cleanse(key_.data(), key_.size());
    on_ = false;
}

Bytes SecureChannel::wrap(const Bytes &body, const PayloadDamage &damage) const {
    Bytes plain(padded_size(header_size + body.size()));
    const auto length = static_cast<std::uint16_t>(body.size());
    const auto crc = static_cast<std::uint16_t>(crc16(body) ^ (damage.wrong_crc ? 0xFFFF : 0));
    put_u16(plain, 0, damage.length_field.value_or(length));
    put_u16(plain, 2, crc);
    std::copy(body.begin(), body.end(), plain.begin() + header_size);
    Bytes payload = run_cipher(key_.data(), plain, true);
    if (damage.payload_size) {
        payload.resize(*damage.payload_size, 0x5A);
    }
    return payload;
}

std::optional<Bytes> SecureChannel::unwrap(const Bytes &payload) const {
    if (payload.empty() || payload.size() % block_size != 0) {
        return std::nullopt;
    }
    const Bytes plain = run_cipher(key_.data(), payload, false);
    const std::size_t length = get_u16(plain, 0);
    if (padded_size(header_size + length) != plain.size()) {
        return std::nullopt;
    }
    const auto begin = plain.begin() + header_size;
    const auto end = begin + static_cast<std::ptrdiff_t>(length);
    const bool zero_padding =
        std::all_of(end, plain.end(), [](std::uint8_t byte) { return byte == 0; });
    Bytes body(begin, end);
    if (!zero_padding || crc16(body) != get_u16(plain, 2)) {
        return std::nullopt;
    }
    return body;
}

} // namespace sim
