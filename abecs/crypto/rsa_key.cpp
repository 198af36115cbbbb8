#include "abecs/crypto/rsa_key.h"

#include "abecs/crypto/crypto.h"
#include "abecs/crypto/math_provider.h"
#include "abecs/crypto/rsa_handle.h"
#include "core/exception.h"
#include "core/memory.h"

namespace {

bool isKeySize(std::size_t size) {
    return size == 128 || size == 256;
}

// `make` fills the library's key and gives its status; on a failure it leaves nothing behind.
template <typename Make>
PclRsaKey *createKey(Make make) {
    auto *holder = static_cast<PclRsaKey *>(pcl_malloc(sizeof(PclRsaKey), 0));
    if (holder == nullptr) {
        return nullptr;
    }
    const int status = make(&holder->key);
    if (status != CRYPT_OK) {
        pcl_free(holder);
        holder = nullptr;
    }
    return pcl_crypto_succeeded(status) ? holder : nullptr;
}

// Makes a public key private; releases the key on a failure. The number is given its full room
// first: growing while it is read would leave parts of the exponent behind.
int addPrivateExponent(rsa_key *key, const std::uint8_t *d, unsigned long szd) {
    int status = ltc_mp.twoexpt(key->d, ltc_mp.count_bits(key->N) + ltc_mp.bits_per_digit);
    if (status == CRYPT_OK) {
        status = ltc_mp.unsigned_read(key->d, const_cast<unsigned char *>(d), szd);
    }
    if (status == CRYPT_OK) {
        key->type = PK_PRIVATE;
    } else {
        pcl_math_wipe(key->d);
        rsa_free(key);
    }
    return status;
}

std::size_t byteLength(void *number) {
    return ltc_mp.unsigned_size(number);
}

} // namespace

PclRsaKey *pcl_rsa_key_generate(int size, std::int32_t exponent) {
    if (size != 128 && size != 256) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid key size: %d", size);
        return nullptr;
    }
    return createKey([&](rsa_key *key) {
        return rsa_make_key(nullptr, pcl_crypto_sprng_index(), size, exponent, key);
    });
}

PclRsaKey *pcl_rsa_key_import(const std::uint8_t *N, std::size_t szN, const std::uint8_t *e,
                              std::size_t sze, const std::uint8_t *d, std::size_t szd) {
    const char *fault = nullptr;
    if (N == nullptr) {
        fault = "'N' is NULL";
    } else if (szN == 0) {
        fault = "'szN' is zero";
    } else if (e == nullptr) {
        fault = "'e' is NULL";
    } else if (sze == 0) {
        fault = "'sze' is zero";
    }
    if (fault != nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%s", fault);
        return nullptr;
    }
    if (!isKeySize(szN)) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid key size: %d", static_cast<int>(szN));
        return nullptr;
    }
    return createKey([&](rsa_key *key) {
        int status = rsa_set_key(N, pcl_rsa_library_length(szN), e, pcl_rsa_library_length(sze),
                                 nullptr, 0, key);
        if (status == CRYPT_OK && d != nullptr && szd != 0) {
            status = addPrivateExponent(key, d, pcl_rsa_library_length(szd));
        }
        return status;
    });
}

PclRsaKey *pcl_rsa_private_key_import(const std::uint8_t *N, std::size_t szN, const std::uint8_t *e,
                                      std::size_t sze, const std::uint8_t *d, std::size_t szd) {
    if (d == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'d' is NULL");
        return nullptr;
    }
    if (szd == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'szd' is zero");
        return nullptr;
    }
    return pcl_rsa_key_import(N, szN, e, sze, d, szd);
}

void pcl_rsa_key_destroy(PclRsaKey **key) {
    if (key == nullptr || *key == nullptr) {
        return;
    }
    rsa_key &numbers = (*key)->key;
    // A provider that the host installed does not wipe by itself.
    for (void *secret : {numbers.d, numbers.p, numbers.q, numbers.dP, numbers.dQ, numbers.qP}) {
        pcl_math_wipe(secret);
    }
    rsa_free(&numbers);
    pcl_free(*key);
    *key = nullptr;
}

void pcl_rsa_export_public(const PclRsaKey *privKey, PclRsaPublicKey *out) {
    if (privKey == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'privKey' is NULL");
        return;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return;
    }
    const rsa_key &numbers = privKey->key;
    const std::size_t szN = byteLength(numbers.N);
    if (!isKeySize(szN)) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unsupported modulus size: %d", static_cast<int>(szN));
        return;
    }
    const std::size_t sze = byteLength(numbers.e);
    if (sze > sizeof out->e) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unsupported exponent size: %d", static_cast<int>(sze));
        return;
    }
    PclRsaPublicKey exported{};
    exported.szN = static_cast<std::uint32_t>(szN);
    exported.sze = static_cast<std::uint32_t>(sze);
    if (pcl_crypto_succeeded(ltc_mp.unsigned_write(numbers.N, exported.N)) &&
        pcl_crypto_succeeded(ltc_mp.unsigned_write(numbers.e, exported.e))) {
        *out = exported;
    }
}

std::size_t pcl_rsa_key_size(const PclRsaKey *privKey) {
    if (privKey == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'privKey' is NULL");
        return 0;
    }
    const std::size_t size = byteLength(privKey->key.N);
    if (!isKeySize(size)) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unsupported key size: %d", static_cast<int>(size));
        return 0;
    }
    return size;
}
