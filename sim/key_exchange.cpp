#include "sim/key_exchange.h"

#include <openssl/bn.h>
#include <openssl/rand.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace sim {

namespace {

struct NumberDeleter {
    void operator()(BIGNUM *number) const { BN_clear_free(number); }
};
using Number = std::unique_ptr<BIGNUM, NumberDeleter>;

Number read_number(const Bytes &bytes) {
    return Number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

} // namespace

Bytes random_bytes(std::size_t count) {
    Bytes bytes(count);
    if (RAND_bytes(bytes.data(), static_cast<int>(count)) != 1) {
        throw std::runtime_error("no random bytes");
    }
    return bytes;
}

struct RsaPublicKey::Numbers {
    struct ContextDeleter {
        void operator()(BN_CTX *freed) const { BN_CTX_free(freed); }
    };
    struct MontgomeryDeleter {
        void operator()(BN_MONT_CTX *freed) const { BN_MONT_CTX_free(freed); }
    };
    Number modulus;
    Number exponent;
    std::unique_ptr<BN_CTX, ContextDeleter> context;
    std::unique_ptr<BN_MONT_CTX, MontgomeryDeleter> montgomery;
};

RsaPublicKey::RsaPublicKey(const Bytes &modulus, const Bytes &exponent)
    : size_(modulus.size()), numbers_(std::make_unique<Numbers>()) {
    numbers_->modulus = read_number(modulus);
    numbers_->exponent = read_number(exponent);
    numbers_->context.reset(BN_CTX_new());
    numbers_->montgomery.reset(BN_MONT_CTX_new());
    const BIGNUM *n = numbers_->modulus.get();
    const bool usable =
        n != nullptr && BN_is_odd(n) == 1 && static_cast<std::size_t>(BN_num_bytes(n)) == size_ &&
        numbers_->exponent != nullptr && BN_is_zero(numbers_->exponent.get()) == 0 &&
        BN_MONT_CTX_set(numbers_->montgomery.get(), n, numbers_->context.get()) == 1;
    if (!usable) {
        throw std::invalid_argument("no usable RSA public key");
    }
}

RsaPublicKey::~RsaPublicKey() = default;

Bytes RsaPublicKey::encrypt(const Bytes &block) const {
    // A block of a damaged shape may exceed the modulus; a raw exponentiation takes it modulo N.
    const Number given = read_number(block);
    const Number reduced(BN_new());
    const Number result(BN_new());
    Bytes out(size_);
    BN_CTX *context = numbers_->context.get();
    const BIGNUM *n = numbers_->modulus.get();
    const bool done = BN_nnmod(reduced.get(), given.get(), n, context) == 1 &&
                      BN_mod_exp_mont(result.get(), reduced.get(), numbers_->exponent.get(), n,
                                      context, numbers_->montgomery.get()) == 1 &&
                      BN_bn2binpad(result.get(), out.data(), static_cast<int>(out.size())) >= 0;
    if (!done) {
        throw std::runtime_error("RSA failed");
    }
    return out;
}

Bytes make_key_block(std::size_t size, const Bytes &key, const KeyBlockShape &shape) {
    const std::size_t fixed = 2 + (shape.separator ? 1 : 0) + key.size();
    Bytes block{shape.head, shape.type};
    for (std::uint8_t byte : random_bytes(size - fixed)) {
        block.push_back(byte == 0 ? 0xFF : byte);
    }
    if (shape.separator) {
        block.push_back(0x00);
    }
    for (std::uint8_t byte : key) {
        block.push_back(byte == 0 && !shape.separator ? 0xFF : byte);
    }
    return block;
}

LeadingByteSearch::LeadingByteSearch(std::shared_ptr<const RsaPublicKey> host_key,
                                     Bytes session_key, KeyBlockShape shape, std::size_t lead)
    : host_key_(std::move(host_key)), session_key_(std::move(session_key)), shape_(shape),
      lead_(lead) {}

std::optional<Bytes> LeadingByteSearch::search_slice() {
    constexpr unsigned slice = 16;
    constexpr std::uint8_t wanted = 0x30;
    for (unsigned i = 0; i < slice && !exhausted(); ++i) {
        ++tries_;
        Bytes block = host_key_->encrypt(make_key_block(host_key_->size(), session_key_, shape_));
        const auto end = block.begin() + static_cast<std::ptrdiff_t>(lead_);
        if (std::all_of(block.begin(), end, [](std::uint8_t byte) { return byte == wanted; })) {
            return block;
        }
    }
    return std::nullopt;
}

} // namespace sim
