#include "abecs/crypto/aes.h"

#include "core/owned.h"
#include "tests/crypto/reference.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <algorithm>

using reference::Bytes;
using reference::fromHex;

namespace {

using OwnedAesKey = PclOwned<PclAesKey, pcl_aes_key_destroy>;

OwnedAesKey makeKey(const Bytes &key) {
    return OwnedAesKey(pcl_aes_key_create(key.data(), key.size()));
}

Bytes sequence(std::size_t size) {
    Bytes bytes(size);
    std::uint8_t next = 0;
    std::generate(bytes.begin(), bytes.end(), [&] { return next++; });
    return bytes;
}

const Bytes CBC_VECTOR = fromHex("000102030405060708090a0b0c0d0e0f");

// The four blocks that the published mode vectors share.
const Bytes MODE_PLAIN = fromHex("6bc1bee22e409f96e93d7e117393172a"
                                 "ae2d8a571e03ac9c9eb76fac45af8e51"
                                 "30c81c46a35ce411e5fbc1191a0a52ef"
                                 "f69f2445df4f9b17ad2b417be66c3710");

struct ModeVector {
    const char *key;
    const char *ecb;
    const char *cbc;
};

// NIST SP 800-38A, F.1 and F.2.
const ModeVector MODE_VECTORS[] = {
    {"2b7e151628aed2a6abf7158809cf4f3c",
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
     "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4",
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b",
     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
     "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e",
     "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
     "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd"},
    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
     "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
     "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7",
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
};

class AesKeySize : public testing::TestWithParam<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Sizes, AesKeySize, testing::Values(16, 24, 32));

} // namespace

TEST(AesVector, SingleBlocksOfFips197) {
    const Bytes plain = fromHex("00112233445566778899aabbccddeeff");
    const std::pair<std::size_t, const char *> vectors[] = {
        {16, "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {24, "dda97ca4864cdfe06eaf70a0ec0d7191"},
        {32, "8ea2b7ca516745bfeafc49904b496089"}};
    for (const auto &[size, secret] : vectors) {
        const OwnedAesKey key = makeKey(sequence(size));
        Bytes out(16);
        pcl_aes_ecb_encrypt(key.get(), plain.data(), out.data(), out.size());
        EXPECT_EQ(out, fromHex(secret));
        pcl_aes_ecb_decrypt(key.get(), out.data(), out.data(), out.size());
        EXPECT_EQ(out, plain);
    }
}

TEST(AesVector, ModesOfSp80038a) {
    for (const ModeVector &vector : MODE_VECTORS) {
        const OwnedAesKey key = makeKey(fromHex(vector.key));
        Bytes out(MODE_PLAIN.size());
        pcl_aes_ecb_encrypt(key.get(), MODE_PLAIN.data(), out.data(), out.size());
        EXPECT_EQ(out, fromHex(vector.ecb));
        pcl_aes_ecb_decrypt(key.get(), out.data(), out.data(), out.size());
        EXPECT_EQ(out, MODE_PLAIN);
        pcl_aes_cbc_encrypt(key.get(), CBC_VECTOR.data(), MODE_PLAIN.data(), out.data(),
                            out.size());
        EXPECT_EQ(out, fromHex(vector.cbc));
        pcl_aes_cbc_decrypt(key.get(), CBC_VECTOR.data(), out.data(), out.data(), out.size());
        EXPECT_EQ(out, MODE_PLAIN);
    }
}

TEST_P(AesKeySize, EcbAgreesWithOpenSsl) {
    const Bytes keyBytes = reference::random(GetParam());
    const Bytes plain = reference::random(160);
    const OwnedAesKey key = makeKey(keyBytes);
    Bytes out(plain.size());
    pcl_aes_ecb_encrypt(key.get(), plain.data(), out.data(), out.size());
    EXPECT_EQ(out, reference::aesEncrypt("ECB", keyBytes, {}, plain));
    pcl_aes_ecb_decrypt(key.get(), plain.data(), out.data(), out.size());
    EXPECT_EQ(out, reference::aesDecrypt("ECB", keyBytes, {}, plain));
}

TEST_P(AesKeySize, CbcAgreesWithOpenSsl) {
    const Bytes keyBytes = reference::random(GetParam());
    const Bytes iv = reference::random(16);
    const Bytes plain = reference::random(160);
    const OwnedAesKey key = makeKey(keyBytes);
    Bytes out(plain.size());
    pcl_aes_cbc_encrypt(key.get(), iv.data(), plain.data(), out.data(), out.size());
    EXPECT_EQ(out, reference::aesEncrypt("CBC", keyBytes, iv, plain));
    pcl_aes_cbc_decrypt(key.get(), iv.data(), plain.data(), out.data(), out.size());
    EXPECT_EQ(out, reference::aesDecrypt("CBC", keyBytes, iv, plain));
}

TEST_P(AesKeySize, CbcWorksInPlaceAndLeavesTheVectorAlone) {
    const Bytes keyBytes = reference::random(GetParam());
    const Bytes iv = reference::random(16);
    const Bytes plain = reference::random(64);
    const OwnedAesKey key = makeKey(keyBytes);
    Bytes vector = iv;
    Bytes data = plain;
    pcl_aes_cbc_encrypt(key.get(), vector.data(), data.data(), data.data(), data.size());
    EXPECT_EQ(data, reference::aesEncrypt("CBC", keyBytes, iv, plain));
    EXPECT_EQ(vector, iv);
    pcl_aes_cbc_decrypt(key.get(), vector.data(), data.data(), data.data(), data.size());
    EXPECT_EQ(data, plain);
    EXPECT_EQ(vector, iv);
}

TEST_P(AesKeySize, NullVectorStandsForZeros) {
    const Bytes keyBytes = reference::random(GetParam());
    const Bytes zeros(16, 0);
    const Bytes plain = reference::random(48);
    const OwnedAesKey key = makeKey(keyBytes);
    for (int round = 0; round < 2; ++round) {
        Bytes out(plain.size());
        pcl_aes_cbc_encrypt(key.get(), nullptr, plain.data(), out.data(), out.size());
        EXPECT_EQ(out, reference::aesEncrypt("CBC", keyBytes, zeros, plain));
        pcl_aes_cbc_decrypt(key.get(), nullptr, out.data(), out.data(), out.size());
        EXPECT_EQ(out, plain);
    }
}

TEST(Aes, LongDataKeepsItsChain) {
    const Bytes keyBytes = reference::random(16);
    const Bytes iv = reference::random(16);
    const Bytes plain = reference::random((std::size_t{5} << 19) + 16);
    const OwnedAesKey key = makeKey(keyBytes);
    Bytes out(plain.size());
    pcl_aes_cbc_encrypt(key.get(), iv.data(), plain.data(), out.data(), out.size());
    EXPECT_EQ(out, reference::aesEncrypt("CBC", keyBytes, iv, plain));
    pcl_aes_cbc_decrypt(key.get(), iv.data(), out.data(), out.data(), out.size());
    EXPECT_EQ(out, plain);
}

TEST(Aes, WritesNothingBeyondTheLength) {
    const OwnedAesKey key = makeKey(sequence(16));
    const Bytes plain(16, 7);
    Bytes out(48, 0xEE);
    pcl_aes_cbc_encrypt(key.get(), nullptr, plain.data(), out.data() + 16, 16);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 16), Bytes(16, 0xEE));
    EXPECT_EQ(Bytes(out.begin() + 32, out.end()), Bytes(16, 0xEE));
}

TEST(AesKey, HoldsACopyOfTheKeyAndItsSize) {
    Bytes bytes = sequence(24);
    const OwnedAesKey key = makeKey(bytes);
    std::fill(bytes.begin(), bytes.end(), std::uint8_t{0xFF});
    EXPECT_EQ(key->keySize, 24U);
    EXPECT_EQ(Bytes(key->key, key->key + 24), sequence(24));
    EXPECT_EQ(Bytes(key->key + 24, key->key + 32), Bytes(8, 0));
}

TEST(AesKey, RefusesWrongArguments) {
    const Bytes bytes = sequence(64);
    EXPECT_FAILURE(pcl_aes_key_create(nullptr, 16), PCL_RESULT_ILLEGAL_ARGUMENT, "'key' is NULL");
    EXPECT_FAILURE(pcl_aes_key_create(nullptr, 5), PCL_RESULT_ILLEGAL_ARGUMENT, "'key' is NULL");
    for (const std::size_t size : {0U, 1U, 15U, 17U, 23U, 25U, 31U, 33U, 64U}) {
        EXPECT_FAILURE(pcl_aes_key_create(bytes.data(), size), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "Unsupported key size: " + std::to_string(size));
    }
}

TEST(AesKey, DestroySetsTheVariableToNullAndToleratesNull) {
    PclAesKey *key = pcl_aes_key_create(sequence(16).data(), 16);
    ASSERT_NE(key, nullptr);
    pcl_aes_key_destroy(&key);
    EXPECT_EQ(key, nullptr);
    EXPECT_NO_FAILURE(pcl_aes_key_destroy(&key));
    EXPECT_NO_FAILURE(pcl_aes_key_destroy(nullptr));
}

TEST(Aes, ChecksItsArgumentsInOrder) {
    const OwnedAesKey key = makeKey(sequence(16));
    using Operation =
        void (*)(const PclAesKey *, const std::uint8_t *, std::uint8_t *, std::size_t);
    const Operation operations[] = {
        pcl_aes_ecb_encrypt,
        pcl_aes_ecb_decrypt,
        [](const PclAesKey *cipher, const std::uint8_t *in, std::uint8_t *out, std::size_t len) {
            pcl_aes_cbc_encrypt(cipher, nullptr, in, out, len);
        },
        [](const PclAesKey *cipher, const std::uint8_t *in, std::uint8_t *out, std::size_t len) {
            pcl_aes_cbc_decrypt(cipher, nullptr, in, out, len);
        },
    };
    const Bytes in(32, 1);
    Bytes out(32, 2);
    for (const Operation run : operations) {
        EXPECT_FAILURE(run(nullptr, nullptr, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'cipher' is NULL");
        EXPECT_FAILURE(run(key.get(), nullptr, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'in' is NULL");
        EXPECT_FAILURE(run(key.get(), in.data(), nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'out' is NULL");
        EXPECT_FAILURE(run(key.get(), in.data(), out.data(), 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'len' is zero");
        for (const std::size_t len : {1U, 15U, 17U, 31U}) {
            EXPECT_FAILURE(run(key.get(), in.data(), out.data(), len), PCL_RESULT_ILLEGAL_ARGUMENT,
                           "'len' must be a multiple of 16");
        }
    }
    EXPECT_EQ(out, Bytes(32, 2));
}

TEST(Aes, PassesOnWhatTheLibraryRefuses) {
    PclAesKey broken{{}, 20};
    const Bytes in(16, 1);
    Bytes out(16, 2);
    EXPECT_FAILURE(pcl_aes_ecb_encrypt(&broken, in.data(), out.data(), 16), PCL_RESULT_CRYPT_ERROR,
                   "Invalid key size.");
    EXPECT_FAILURE(pcl_aes_cbc_decrypt(&broken, nullptr, in.data(), out.data(), 16),
                   PCL_RESULT_CRYPT_ERROR, "Invalid key size.");
    EXPECT_EQ(out, Bytes(16, 2));
}

TEST(Aes, AHandlerThatReturnsIsHarmless) {
    const Bytes bytes = sequence(16);
    const OwnedAesKey key = makeKey(bytes);
    Bytes out(16, 2);
    const ScopedHandler handler;
    EXPECT_EQ(pcl_aes_key_create(nullptr, 16), nullptr);
    EXPECT_EQ(pcl_aes_key_create(bytes.data(), 17), nullptr);
    pcl_aes_cbc_encrypt(nullptr, nullptr, bytes.data(), out.data(), 16);
    pcl_aes_ecb_decrypt(key.get(), bytes.data(), nullptr, 16);
    pcl_aes_cbc_encrypt(key.get(), nullptr, bytes.data(), out.data(), 15);
    EXPECT_EQ(handler.count(), 5U);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_ILLEGAL_ARGUMENT] 'len' must be a multiple of 16");
    EXPECT_EQ(out, Bytes(16, 2));
}
