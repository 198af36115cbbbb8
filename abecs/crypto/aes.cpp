#include "abecs/crypto/aes.h"

#include "abecs/crypto/crypto.h"
#include "core/exception.h"
#include "core/memory.h"

#include <tomcrypt.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint8_t ZERO_VECTOR[PCL_AES_BLOCK_SIZE] = {};

// The cryptographic library counts in unsigned long, which need not hold every size_t.
constexpr std::size_t MAX_STEP = std::size_t{1} << 20;

// An expanded key; ending a mode does not wipe it.
template <typename State>
struct Schedule {
    State state;

    Schedule() = default;
    Schedule(const Schedule &) = delete;
    Schedule &operator=(const Schedule &) = delete;
    ~Schedule() { pcl_wipe(&state, sizeof state); }
};

bool argumentsAreValid(const PclAesKey *cipher, const std::uint8_t *in, const std::uint8_t *out,
                       std::size_t len) {
    const char *fault = nullptr;
    if (cipher == nullptr) {
        fault = "'cipher' is NULL";
    } else if (in == nullptr) {
        fault = "'in' is NULL";
    } else if (out == nullptr) {
        fault = "'out' is NULL";
    } else if (len == 0) {
        fault = "'len' is zero";
    } else if (len % PCL_AES_BLOCK_SIZE != 0) {
        fault = "'len' must be a multiple of 16";
    }
    if (fault != nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%s", fault);
    }
    return fault == nullptr;
}

template <typename State>
using Step = int (*)(const unsigned char *in, unsigned char *out, unsigned long len, State *state);

template <typename State>
int process(Step<State> step, State *state, const std::uint8_t *in, std::uint8_t *out,
            std::size_t len) {
    int status = CRYPT_OK;
    for (std::size_t done = 0; status == CRYPT_OK && done < len; done += MAX_STEP) {
        const std::size_t count = std::min(len - done, MAX_STEP);
        status = step(in + done, out + done, static_cast<unsigned long>(count), state);
    }
    return status;
}

// These two give back the library's status instead of raising, so that the schedule is wiped before
// a host's handler runs.

int runEcb(Step<symmetric_ECB> step, const PclAesKey &key, const std::uint8_t *in,
           std::uint8_t *out, std::size_t len) {
    Schedule<symmetric_ECB> ecb;
    const int started =
        ecb_start(pcl_crypto_aes_index(), key.key, static_cast<int>(key.keySize), 0, &ecb.state);
    if (started != CRYPT_OK) {
        return started;
    }
    const int processed = process(step, &ecb.state, in, out, len);
    const int finished = ecb_done(&ecb.state);
    return processed != CRYPT_OK ? processed : finished;
}

int runCbc(Step<symmetric_CBC> step, const PclAesKey &key, const std::uint8_t *iv,
           const std::uint8_t *in, std::uint8_t *out, std::size_t len) {
    Schedule<symmetric_CBC> cbc;
    const int started = cbc_start(pcl_crypto_aes_index(), iv != nullptr ? iv : ZERO_VECTOR, key.key,
                                  static_cast<int>(key.keySize), 0, &cbc.state);
    if (started != CRYPT_OK) {
        return started;
    }
    const int processed = process(step, &cbc.state, in, out, len);
    const int finished = cbc_done(&cbc.state);
    return processed != CRYPT_OK ? processed : finished;
}

void ecb(Step<symmetric_ECB> step, const PclAesKey *cipher, const std::uint8_t *in,
         std::uint8_t *out, std::size_t len) {
    if (argumentsAreValid(cipher, in, out, len)) {
        static_cast<void>(pcl_crypto_succeeded(runEcb(step, *cipher, in, out, len)));
    }
}

void cbc(Step<symmetric_CBC> step, const PclAesKey *cipher, const std::uint8_t *iv,
         const std::uint8_t *in, std::uint8_t *out, std::size_t len) {
    if (argumentsAreValid(cipher, in, out, len)) {
        static_cast<void>(pcl_crypto_succeeded(runCbc(step, *cipher, iv, in, out, len)));
    }
}

} // namespace

PclAesKey *pcl_aes_key_create(const std::uint8_t *key, std::size_t size) {
    if (key == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'key' is NULL");
        return nullptr;
    }
    if (size != 16 && size != 24 && size != 32) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Unsupported key size: %zu", size);
        return nullptr;
    }
    auto *holder = static_cast<PclAesKey *>(pcl_malloc(sizeof(PclAesKey), 0));
    if (holder != nullptr) {
        *holder = PclAesKey{{}, static_cast<std::uint32_t>(size)};
        std::memcpy(holder->key, key, size);
    }
    return holder;
}

void pcl_aes_key_destroy(PclAesKey **key) {
    if (key == nullptr || *key == nullptr) {
        return;
    }
    pcl_wipe(*key, sizeof **key);
    pcl_free(*key);
    *key = nullptr;
}

void pcl_aes_ecb_encrypt(const PclAesKey *cipher, const std::uint8_t *in, std::uint8_t *out,
                         std::size_t len) {
    ecb(ecb_encrypt, cipher, in, out, len);
}

void pcl_aes_ecb_decrypt(const PclAesKey *cipher, const std::uint8_t *in, std::uint8_t *out,
                         std::size_t len) {
    ecb(ecb_decrypt, cipher, in, out, len);
}

void pcl_aes_cbc_encrypt(const PclAesKey *cipher, const std::uint8_t *iv, const std::uint8_t *in,
                         std::uint8_t *out, std::size_t len) {
    cbc(cbc_encrypt, cipher, iv, in, out, len);
}

void pcl_aes_cbc_decrypt(const PclAesKey *cipher, const std::uint8_t *iv, const std::uint8_t *in,
                         std::uint8_t *out, std::size_t len) {
    cbc(cbc_decrypt, cipher, iv, in, out, len);
}
