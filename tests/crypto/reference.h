#pragma once

#include "abecs/crypto/rsa.h"

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The same cryptography by OpenSSL, to compare with. Anything it refuses throws.
namespace reference {

using Bytes = std::vector<std::uint8_t>;

Bytes fromHex(const std::string &hex);
Bytes random(std::size_t size);

/// `mode` is "ECB" or "CBC"; no padding.
Bytes aesEncrypt(const std::string &mode, const Bytes &key, const Bytes &iv, const Bytes &plain);
Bytes aesDecrypt(const std::string &mode, const Bytes &key, const Bytes &iv, const Bytes &secret);

class RsaKey {
public:
    static RsaKey generate(unsigned bits, unsigned long exponent = 65537);
    static RsaKey fromPublic(const PclRsaPublicKey &record);

    Bytes N() const { return number("n"); }
    Bytes e() const { return number("e"); }
    Bytes d() const { return number("d"); }
    PclRsaPublicKey record() const;

    Bytes publicRaw(const Bytes &in) const;
    Bytes privateRaw(const Bytes &in) const;
    Bytes oaepEncrypt(const Bytes &in) const;
    Bytes oaepDecrypt(const Bytes &in) const;

private:
    explicit RsaKey(EVP_PKEY *key) : m_key(key, EVP_PKEY_free) {}

    Bytes number(const char *name) const;

    std::shared_ptr<EVP_PKEY> m_key;
};

} // namespace reference
