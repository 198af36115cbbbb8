#include "abecs/crypto/rsa.h"

#include "core/owned.h"
#include "tests/crypto/reference.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

using reference::Bytes;

namespace {

using OwnedRsaKey = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

const Bytes EXPONENT{1, 0, 1};

OwnedRsaKey importKey(const Bytes &N, const Bytes &e, const Bytes &d = {}) {
    return OwnedRsaKey(pcl_rsa_key_import(N.data(), N.size(), e.data(), e.size(),
                                          d.empty() ? nullptr : d.data(), d.size()));
}

Bytes oddModulus(std::size_t size) {
    Bytes modulus = reference::random(size);
    modulus.front() |= 0x80;
    modulus.back() |= 0x01;
    return modulus;
}

class GeneratedKey : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Sizes, GeneratedKey, testing::Values(128, 256));

} // namespace

TEST_P(GeneratedKey, HasTheSizeAndExponentAskedFor) {
    const std::size_t size = static_cast<std::size_t>(GetParam());
    const OwnedRsaKey key(pcl_rsa_key_generate(GetParam(), 65537));
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(pcl_rsa_key_size(key.get()), size);
    PclRsaPublicKey record{};
    pcl_rsa_export_public(key.get(), &record);
    EXPECT_EQ(record.szN, size);
    EXPECT_NE(record.N[0] & 0x80, 0);
    EXPECT_NE(record.N[size - 1] & 0x01, 0);
    EXPECT_EQ(record.sze, 3U);
    EXPECT_EQ(Bytes(record.e, record.e + 3), EXPONENT);
    EXPECT_EQ(record.e[3], 0);
}

TEST_P(GeneratedKey, IsAnotherEachTime) {
    PclRsaPublicKey records[2] = {};
    for (PclRsaPublicKey &record : records) {
        const OwnedRsaKey key(pcl_rsa_key_generate(GetParam(), 65537));
        pcl_rsa_export_public(key.get(), &record);
    }
    EXPECT_NE(Bytes(records[0].N, records[0].N + records[0].szN),
              Bytes(records[1].N, records[1].N + records[1].szN));
}

TEST(GenerateKey, TakesOtherExponents) {
    const OwnedRsaKey key(pcl_rsa_key_generate(128, 3));
    PclRsaPublicKey record{};
    pcl_rsa_export_public(key.get(), &record);
    EXPECT_EQ(record.sze, 1U);
    EXPECT_EQ(record.e[0], 3);
}

TEST(GenerateKey, RefusesOtherSizes) {
    for (const int size : {0, 1, 64, 127, 129, 192, 255, 257, 384, 512, -128}) {
        EXPECT_FAILURE(pcl_rsa_key_generate(size, 65537), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "Invalid key size: " + std::to_string(size));
    }
}

TEST(GenerateKey, PassesOnAnExponentThatTheLibraryRefuses) {
    for (const std::int32_t exponent : {0, 1, 2, 65536, -3}) {
        EXPECT_FAILURE(pcl_rsa_key_generate(128, exponent), PCL_RESULT_CRYPT_ERROR,
                       "Invalid argument provided.");
    }
}

TEST(ImportKey, ChecksItsArgumentsInOrder) {
    const Bytes N = oddModulus(256);
    const Bytes &e = EXPONENT;
    const auto import = [](const std::uint8_t *modulus, std::size_t szN,
                           const std::uint8_t *exponent, std::size_t sze) {
        pcl_rsa_key_import(modulus, szN, exponent, sze, nullptr, 0);
    };
    EXPECT_FAILURE(import(nullptr, 0, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT, "'N' is NULL");
    EXPECT_FAILURE(import(N.data(), 0, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT, "'szN' is zero");
    EXPECT_FAILURE(import(N.data(), 192, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT, "'e' is NULL");
    EXPECT_FAILURE(import(N.data(), 192, e.data(), 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'sze' is zero");
    for (const std::size_t size : {1U, 127U, 129U, 192U, 255U, 257U, 512U}) {
        EXPECT_FAILURE(import(N.data(), size, e.data(), e.size()), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "Invalid key size: " + std::to_string(size));
    }
}

TEST(ImportPrivateKey, WantsThePrivateExponentFirst) {
    const Bytes N = oddModulus(128);
    const Bytes d = reference::random(128);
    EXPECT_FAILURE(pcl_rsa_private_key_import(nullptr, 0, nullptr, 0, nullptr, 0),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "'d' is NULL");
    EXPECT_FAILURE(pcl_rsa_private_key_import(nullptr, 0, nullptr, 0, d.data(), 0),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "'szd' is zero");
    EXPECT_FAILURE(pcl_rsa_private_key_import(nullptr, 0, nullptr, 0, d.data(), d.size()),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "'N' is NULL");
    EXPECT_FAILURE(pcl_rsa_private_key_import(N.data(), 192, EXPONENT.data(), 3, d.data(), 128),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid key size: 192");
}

TEST(ImportKey, KeepsThePublicNumbers) {
    for (const std::size_t size : {128U, 256U}) {
        const Bytes N = oddModulus(size);
        const OwnedRsaKey key = importKey(N, EXPONENT);
        EXPECT_EQ(pcl_rsa_key_size(key.get()), size);
        PclRsaPublicKey record{};
        pcl_rsa_export_public(key.get(), &record);
        EXPECT_EQ(Bytes(record.N, record.N + record.szN), N);
        EXPECT_EQ(Bytes(record.e, record.e + record.sze), EXPONENT);
    }
}

TEST(ExportKey, ChecksItsArgumentsInOrder) {
    const OwnedRsaKey key = importKey(oddModulus(128), EXPONENT);
    PclRsaPublicKey record{};
    EXPECT_FAILURE(pcl_rsa_export_public(nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'privKey' is NULL");
    EXPECT_FAILURE(pcl_rsa_export_public(nullptr, &record), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'privKey' is NULL");
    EXPECT_FAILURE(pcl_rsa_export_public(key.get(), nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'out' is NULL");
}

TEST(ExportKey, RefusesAModulusWhoseLeadingBytesAreZero) {
    Bytes N = oddModulus(256);
    N[0] = 0;
    N[1] |= 0x80;
    const OwnedRsaKey key = importKey(N, EXPONENT);
    PclRsaPublicKey record{};
    EXPECT_FAILURE(pcl_rsa_export_public(key.get(), &record), PCL_RESULT_RUNTIME_ERROR,
                   "Unsupported modulus size: 255");
    EXPECT_FAILURE(pcl_rsa_key_size(key.get()), PCL_RESULT_RUNTIME_ERROR,
                   "Unsupported key size: 255");
}

TEST(ExportKey, RefusesAnExponentOfMoreThanFourBytes) {
    PclRsaPublicKey record{};
    record.szN = 77;
    const OwnedRsaKey five = importKey(oddModulus(128), {1, 0, 0, 0, 1});
    EXPECT_FAILURE(pcl_rsa_export_public(five.get(), &record), PCL_RESULT_RUNTIME_ERROR,
                   "Unsupported exponent size: 5");
    EXPECT_EQ(record.szN, 77U);
    const OwnedRsaKey four = importKey(oddModulus(128), {0, 0, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_NO_FAILURE(pcl_rsa_export_public(four.get(), &record));
    EXPECT_EQ(record.sze, 4U);
    EXPECT_EQ(Bytes(record.e, record.e + 4), Bytes(4, 0xFF));
}

TEST(KeySize, WantsAKey) {
    EXPECT_FAILURE(pcl_rsa_key_size(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'privKey' is NULL");
}

TEST(DestroyKey, SetsTheVariableToNullAndToleratesNull) {
    PclRsaKey *key = pcl_rsa_key_generate(128, 65537);
    ASSERT_NE(key, nullptr);
    pcl_rsa_key_destroy(&key);
    EXPECT_EQ(key, nullptr);
    EXPECT_NO_FAILURE(pcl_rsa_key_destroy(&key));
    EXPECT_NO_FAILURE(pcl_rsa_key_destroy(nullptr));
}

TEST(RsaKey, AHandlerThatReturnsIsHarmless) {
    const Bytes N = oddModulus(128);
    PclRsaPublicKey record{};
    record.szN = 77;
    const ScopedHandler handler;
    EXPECT_EQ(pcl_rsa_key_generate(192, 65537), nullptr);
    EXPECT_EQ(pcl_rsa_key_generate(128, 2), nullptr);
    EXPECT_EQ(pcl_rsa_key_import(nullptr, 0, nullptr, 0, nullptr, 0), nullptr);
    EXPECT_EQ(pcl_rsa_key_import(N.data(), 127, EXPONENT.data(), 3, nullptr, 0), nullptr);
    EXPECT_EQ(pcl_rsa_private_key_import(N.data(), 128, EXPONENT.data(), 3, nullptr, 0), nullptr);
    EXPECT_EQ(pcl_rsa_key_size(nullptr), 0U);
    pcl_rsa_export_public(nullptr, &record);
    EXPECT_EQ(record.szN, 77U);
    EXPECT_EQ(handler.count(), 7U);
}
