#include "tests/crypto/reference.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <stdexcept>

namespace reference {

namespace {

void require(bool condition, const char *what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

Bytes aes(int encrypt, const std::string &mode, const Bytes &key, const Bytes &iv,
          const Bytes &in) {
    const std::string name = "AES-" + std::to_string(key.size() * 8) + "-" + mode;
    const std::unique_ptr<EVP_CIPHER, void (*)(EVP_CIPHER *)> cipher(
        EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr), EVP_CIPHER_free);
    require(cipher != nullptr, "no such cipher");
    const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX *)> context(EVP_CIPHER_CTX_new(),
                                                                              EVP_CIPHER_CTX_free);
    require(EVP_CipherInit_ex2(context.get(), cipher.get(), key.data(),
                               iv.empty() ? nullptr : iv.data(), encrypt, nullptr) == 1,
            "cipher not initialised");
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    Bytes out(in.size());
    int written = 0;
    require(EVP_CipherUpdate(context.get(), out.data(), &written, in.data(),
                             static_cast<int>(in.size())) == 1,
            "cipher failed");
    require(static_cast<std::size_t>(written) == in.size(), "cipher fell short");
    return out;
}

using Init = int (*)(EVP_PKEY_CTX *context);
using Run = int (*)(EVP_PKEY_CTX *context, unsigned char *out, std::size_t *outLength,
                    const unsigned char *in, std::size_t inLength);

Bytes rsa(EVP_PKEY *key, Init init, Run run, int padding, const Bytes &in) {
    const std::unique_ptr<EVP_PKEY_CTX, void (*)(EVP_PKEY_CTX *)> context(
        EVP_PKEY_CTX_new(key, nullptr), EVP_PKEY_CTX_free);
    require(init(context.get()) == 1, "RSA not initialised");
    require(EVP_PKEY_CTX_set_rsa_padding(context.get(), padding) == 1, "padding refused");
    Bytes out(static_cast<std::size_t>(EVP_PKEY_get_size(key)));
    std::size_t length = out.size();
    require(run(context.get(), out.data(), &length, in.data(), in.size()) == 1, "RSA failed");
    out.resize(length);
    return out;
}

} // namespace

Bytes fromHex(const std::string &hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

Bytes random(std::size_t size) {
    Bytes bytes(size);
    require(RAND_bytes(bytes.data(), static_cast<int>(size)) == 1, "no random bytes");
    return bytes;
}

Bytes aesEncrypt(const std::string &mode, const Bytes &key, const Bytes &iv, const Bytes &plain) {
    return aes(1, mode, key, iv, plain);
}

Bytes aesDecrypt(const std::string &mode, const Bytes &key, const Bytes &iv, const Bytes &secret) {
    return aes(0, mode, key, iv, secret);
}

RsaKey RsaKey::generate(unsigned bits, unsigned long exponent) {
    const std::unique_ptr<EVP_PKEY_CTX, void (*)(EVP_PKEY_CTX *)> context(
        EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr), EVP_PKEY_CTX_free);
    const std::unique_ptr<BIGNUM, void (*)(BIGNUM *)> e(BN_new(), BN_free);
    require(BN_set_word(e.get(), exponent) == 1, "no exponent");
    require(EVP_PKEY_keygen_init(context.get()) == 1, "key generation not initialised");
    require(EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), static_cast<int>(bits)) == 1,
            "key size refused");
    require(EVP_PKEY_CTX_set1_rsa_keygen_pubexp(context.get(), e.get()) == 1, "exponent refused");
    EVP_PKEY *key = nullptr;
    require(EVP_PKEY_generate(context.get(), &key) == 1, "no key");
    return RsaKey(key);
}

RsaKey RsaKey::fromPublic(const PclRsaPublicKey &record) {
    const std::unique_ptr<BIGNUM, void (*)(BIGNUM *)> n(
        BN_bin2bn(record.N, static_cast<int>(record.szN), nullptr), BN_free);
    const std::unique_ptr<BIGNUM, void (*)(BIGNUM *)> e(
        BN_bin2bn(record.e, static_cast<int>(record.sze), nullptr), BN_free);
    const std::unique_ptr<OSSL_PARAM_BLD, void (*)(OSSL_PARAM_BLD *)> builder(OSSL_PARAM_BLD_new(),
                                                                              OSSL_PARAM_BLD_free);
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
    const std::unique_ptr<OSSL_PARAM, void (*)(OSSL_PARAM *)> numbers(
        OSSL_PARAM_BLD_to_param(builder.get()), OSSL_PARAM_free);
    const std::unique_ptr<EVP_PKEY_CTX, void (*)(EVP_PKEY_CTX *)> context(
        EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr), EVP_PKEY_CTX_free);
    require(EVP_PKEY_fromdata_init(context.get()) == 1, "import not initialised");
    EVP_PKEY *key = nullptr;
    require(EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, numbers.get()) == 1,
            "public key refused");
    return RsaKey(key);
}

Bytes RsaKey::number(const char *name) const {
    BIGNUM *value = nullptr;
    require(EVP_PKEY_get_bn_param(m_key.get(), name, &value) == 1, "no such number in the key");
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(value)));
    BN_bn2bin(value, bytes.data());
    BN_clear_free(value);
    return bytes;
}

PclRsaPublicKey RsaKey::record() const {
    PclRsaPublicKey record{};
    const Bytes modulus = N();
    const Bytes exponent = e();
    record.szN = static_cast<std::uint32_t>(modulus.size());
    record.sze = static_cast<std::uint32_t>(exponent.size());
    std::copy(modulus.begin(), modulus.end(), record.N);
    std::copy(exponent.begin(), exponent.end(), record.e);
    return record;
}

Bytes RsaKey::publicRaw(const Bytes &in) const {
    return rsa(m_key.get(), EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, RSA_NO_PADDING, in);
}

Bytes RsaKey::privateRaw(const Bytes &in) const {
    return rsa(m_key.get(), EVP_PKEY_decrypt_init, EVP_PKEY_decrypt, RSA_NO_PADDING, in);
}

Bytes RsaKey::oaepEncrypt(const Bytes &in) const {
    return rsa(m_key.get(), EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, RSA_PKCS1_OAEP_PADDING, in);
}

Bytes RsaKey::oaepDecrypt(const Bytes &in) const {
    return rsa(m_key.get(), EVP_PKEY_decrypt_init, EVP_PKEY_decrypt, RSA_PKCS1_OAEP_PADDING, in);
}

} // namespace reference
