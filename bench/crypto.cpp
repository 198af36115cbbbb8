#include "bench/stats.h"

#include "abecs/crypto/aes.h"
#include "abecs/crypto/crypto.h"
#include "core/owned.h"

#include <array>
#include <cstdint>

#include <openssl/evp.h>
#include <tomcrypt.h>

namespace bench {

namespace {

using AesKeyPtr = PclOwned<PclAesKey, pcl_aes_key_destroy>;

constexpr std::size_t WORK = std::size_t{1} << 20U;
constexpr std::size_t BLOCK = 16;
const std::array<std::uint8_t, BLOCK> KEY{1, 2, 3, 4, 5, 6, 7, 8};
const std::array<std::uint8_t, BLOCK> IV{};

template <typename Body>
double perByte(std::size_t size, Body body) {
    const std::size_t turns = WORK / size;
    const double time = seconds(Clock::CPU, [&] {
        for (std::size_t turn = 0; turn < turns; ++turn) {
            body();
        }
    });
    return time * 1e9 / static_cast<double>(turns * size);
}

void tomcrypt(std::uint8_t *data, std::size_t size) {
    symmetric_CBC state;
    cbc_start(pcl_crypto_aes_index(), IV.data(), KEY.data(), BLOCK, 0, &state);
    cbc_encrypt(data, data, size, &state);
    cbc_done(&state);
}

void openssl(std::uint8_t *data, std::size_t size) {
    EVP_CIPHER_CTX *context = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(context, EVP_aes_128_cbc(), nullptr, KEY.data(), IV.data());
    EVP_CIPHER_CTX_set_padding(context, 0);
    int length = 0;
    EVP_EncryptUpdate(context, data, &length, data, static_cast<int>(size));
    EVP_CIPHER_CTX_free(context);
}

} // namespace

void measureCrypto(Table &table) {
    std::vector<std::uint8_t> data(2048);
    for (const std::size_t size : {std::size_t{64}, std::size_t{2048}}) {
        const std::string subject = "AES-128-CBC of " + std::to_string(size) + " B, key included";
        const auto ours = [&] {
            return perByte(size, [&] {
                const AesKeyPtr key(pcl_aes_key_create(KEY.data(), BLOCK));
                pcl_aes_cbc_encrypt(key.get(), IV.data(), data.data(), data.data(), size);
            });
        };
        table.pair({"Crypto", subject, "bare LibTomCrypt", "ns/B", {}, {}, {}, 0, ""}, ours,
                   [&] { return perByte(size, [&] { tomcrypt(data.data(), size); }); });
        table.pair({"Crypto",
                    subject,
                    "OpenSSL",
                    "ns/B",
                    {},
                    {},
                    {},
                    0,
                    "OpenSSL uses the processor's AES instructions"},
                   ours, [&] { return perByte(size, [&] { openssl(data.data(), size); }); });
    }
}

} // namespace bench
