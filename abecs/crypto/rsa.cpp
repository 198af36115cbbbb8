#include "abecs/crypto/rsa.h"

#include "abecs/crypto/crypto.h"
#include "abecs/crypto/rsa_handle.h"
#include "core/exception.h"
#include "core/memory.h"
#include "core/owned.h"

#include <cstring>

namespace {

using OwnedKey = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

bool argumentsAreValid(const char *nameOfKey, const void *key, const std::uint8_t *in,
                       const std::uint8_t *out) {
    const char *missing = nullptr;
    if (key == nullptr) {
        missing = nameOfKey;
    } else if (in == nullptr) {
        missing = "in";
    } else if (out == nullptr) {
        missing = "out";
    }
    if (missing != nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", missing);
    }
    return missing == nullptr;
}

PclRsaKey *importPublic(const PclRsaPublicKey &record) {
    if (record.sze > sizeof record.e) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Unsupported exponent size: %d",
                  static_cast<int>(record.sze));
        return nullptr;
    }
    return pcl_rsa_key_import(record.N, record.szN, record.e, record.sze, nullptr, 0);
}

// Raises inside the caller's frame, or as the caller's last step with nothing held.
std::size_t exponentiate(int which, const PclRsaKey *key, const std::uint8_t *in,
                         std::size_t length, std::uint8_t *out, std::size_t capacity) {
    unsigned long written = pcl_rsa_library_length(capacity);
    const int status =
        rsa_exptmod(in, pcl_rsa_library_length(length), out, &written, which, &key->key);
    return pcl_crypto_succeeded(status) ? written : 0;
}

// A message that is too long for the output looks to the library like a broken block. Every message
// fits in a block, so it is opened into one, and the two cases can be told apart.
int openOaep(const PclRsaKey *key, const std::uint8_t *in, std::size_t length, std::uint8_t *out,
             std::size_t capacity, std::size_t *written) {
    std::uint8_t message[PCL_RSA_MAX_MODULUS_SIZE];
    unsigned long messageLength = sizeof message;
    int intact = 0;
    int status = rsa_decrypt_key(in, pcl_rsa_library_length(length), message, &messageLength,
                                 nullptr, 0, pcl_crypto_sha1_index(), &intact, &key->key);
    if (status == CRYPT_OK && intact == 0) {
        status = CRYPT_INVALID_PACKET;
    }
    if (status == CRYPT_OK && messageLength > capacity) {
        status = CRYPT_BUFFER_OVERFLOW;
    }
    if (status == CRYPT_OK) {
        std::memcpy(out, message, messageLength);
        *written = messageLength;
    }
    pcl_wipe(message, sizeof message);
    return status;
}

} // namespace

std::size_t pcl_rsa_private_raw(const PclRsaKey *privKey, const std::uint8_t *in,
                                std::size_t length, std::uint8_t *out, std::size_t capacity) {
    if (!argumentsAreValid("privKey", privKey, in, out)) {
        return 0;
    }
    return exponentiate(PK_PRIVATE, privKey, in, length, out, capacity);
}

std::size_t pcl_rsa_public_raw(const PclRsaPublicKey *pubKey, const std::uint8_t *in,
                               std::size_t length, std::uint8_t *out, std::size_t capacity) {
    if (!argumentsAreValid("pubKey", pubKey, in, out)) {
        return 0;
    }
    return pcl_guarded(std::size_t{0}, [&] {
        const OwnedKey key(importPublic(*pubKey));
        return exponentiate(PK_PUBLIC, key.get(), in, length, out, capacity);
    });
}

std::size_t pcl_rsa_oaep_encrypt(const PclRsaPublicKey *pubKey, const std::uint8_t *in,
                                 std::size_t length, std::uint8_t *out, std::size_t capacity) {
    if (!argumentsAreValid("pubKey", pubKey, in, out)) {
        return 0;
    }
    return pcl_guarded(std::size_t{0}, [&] {
        const OwnedKey key(importPublic(*pubKey));
        unsigned long written = pcl_rsa_library_length(capacity);
        const int status =
            rsa_encrypt_key(in, pcl_rsa_library_length(length), out, &written, nullptr, 0, nullptr,
                            pcl_crypto_sprng_index(), pcl_crypto_sha1_index(), &key->key);
        return std::size_t{pcl_crypto_succeeded(status) ? written : 0};
    });
}

std::size_t pcl_rsa_oaep_decrypt(const PclRsaKey *privKey, const std::uint8_t *in,
                                 std::size_t length, std::uint8_t *out, std::size_t capacity) {
    if (!argumentsAreValid("privKey", privKey, in, out)) {
        return 0;
    }
    std::size_t written = 0;
    const int status = openOaep(privKey, in, length, out, capacity, &written);
    if (status == CRYPT_INVALID_PACKET) {
        pcl_raise(PCL_RESULT_CRYPT_ERROR, "Invalid OAEP packet");
        return 0;
    }
    return pcl_crypto_succeeded(status) ? written : 0;
}
