#include "abecs/crypto/rsa.h"

#include "core/owned.h"
#include "tests/crypto/reference.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <algorithm>

using reference::Bytes;

namespace {

using OwnedRsaKey = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

OwnedRsaKey importPrivate(const reference::RsaKey &key) {
    const Bytes N = key.N();
    const Bytes e = key.e();
    const Bytes d = key.d();
    return OwnedRsaKey(
        pcl_rsa_private_key_import(N.data(), N.size(), e.data(), e.size(), d.data(), d.size()));
}

OwnedRsaKey importPublic(const reference::RsaKey &key) {
    const Bytes N = key.N();
    const Bytes e = key.e();
    return OwnedRsaKey(pcl_rsa_key_import(N.data(), N.size(), e.data(), e.size(), nullptr, 0));
}

PclRsaPublicKey publicPart(const OwnedRsaKey &key) {
    PclRsaPublicKey record{};
    pcl_rsa_export_public(key.get(), &record);
    return record;
}

template <typename Operation, typename Key>
Bytes run(Operation operation, const Key *key, const Bytes &in) {
    Bytes out(PCL_RSA_MAX_MODULUS_SIZE, 0xEE);
    out.resize(operation(key, in.data(), in.size(), out.data(), out.size()));
    return out;
}

// A block below any modulus of its size.
Bytes block(std::size_t size) {
    Bytes bytes = reference::random(size);
    bytes[0] = 0;
    bytes[1] = 2;
    return bytes;
}

class RsaSize : public testing::TestWithParam<std::size_t> {
protected:
    std::size_t size() const { return GetParam(); }

    const reference::RsaKey other =
        reference::RsaKey::generate(static_cast<unsigned>(GetParam() * 8));
    const OwnedRsaKey imported = importPrivate(other);
    const PclRsaPublicKey record = other.record();
};

INSTANTIATE_TEST_SUITE_P(Sizes, RsaSize, testing::Values(128, 256));

} // namespace

TEST_P(RsaSize, RawWithAnImportedPrivateKeyAgreesWithOpenSsl) {
    for (int round = 0; round < 8; ++round) {
        const Bytes in = block(size());
        EXPECT_EQ(run(pcl_rsa_private_raw, imported.get(), in), other.privateRaw(in));
    }
}

TEST_P(RsaSize, RawPublicAgreesWithOpenSsl) {
    for (int round = 0; round < 8; ++round) {
        const Bytes in = block(size());
        EXPECT_EQ(run(pcl_rsa_public_raw, &record, in), other.publicRaw(in));
    }
}

TEST_P(RsaSize, RawOpensWhatOpenSslClosed) {
    const Bytes in = block(size());
    EXPECT_EQ(run(pcl_rsa_private_raw, imported.get(), other.publicRaw(in)), in);
    EXPECT_EQ(other.privateRaw(run(pcl_rsa_public_raw, &record, in)), in);
}

TEST_P(RsaSize, RawWithAGeneratedKeyAgreesWithOpenSsl) {
    const OwnedRsaKey key(pcl_rsa_key_generate(static_cast<int>(size()), 65537));
    const PclRsaPublicKey own = publicPart(key);
    const reference::RsaKey sameKey = reference::RsaKey::fromPublic(own);
    for (int round = 0; round < 8; ++round) {
        const Bytes in = block(size());
        const Bytes closed = sameKey.publicRaw(in);
        EXPECT_EQ(run(pcl_rsa_public_raw, &own, in), closed);
        EXPECT_EQ(run(pcl_rsa_private_raw, key.get(), closed), in);
        EXPECT_EQ(sameKey.publicRaw(run(pcl_rsa_private_raw, key.get(), in)), in);
    }
}

TEST_P(RsaSize, RawOutputKeepsItsLeadingZeros) {
    const OwnedRsaKey key(pcl_rsa_key_generate(static_cast<int>(size()), 65537));
    const PclRsaPublicKey own = publicPart(key);
    for (const std::size_t zeros : {std::size_t{1}, std::size_t{9}, size() - 2, size() - 1}) {
        Bytes in = reference::random(size());
        std::fill(in.begin(), in.begin() + static_cast<std::ptrdiff_t>(zeros), std::uint8_t{0});
        in[zeros] |= 1;
        EXPECT_EQ(run(pcl_rsa_private_raw, key.get(), run(pcl_rsa_public_raw, &own, in)), in);
        EXPECT_EQ(run(pcl_rsa_public_raw, &own, run(pcl_rsa_private_raw, key.get(), in)), in);
        EXPECT_EQ(run(pcl_rsa_private_raw, imported.get(), run(pcl_rsa_public_raw, &record, in)),
                  in);
    }
    const Bytes zero(size(), 0);
    EXPECT_EQ(run(pcl_rsa_private_raw, key.get(), zero), zero);
    EXPECT_EQ(run(pcl_rsa_public_raw, &own, zero), zero);
}

TEST_P(RsaSize, RawTakesAShorterNumber) {
    const Bytes one{1};
    Bytes padded(size(), 0);
    padded.back() = 1;
    EXPECT_EQ(run(pcl_rsa_private_raw, imported.get(), one), padded);
    EXPECT_EQ(run(pcl_rsa_public_raw, &record, one), padded);
}

TEST_P(RsaSize, RawWorksInPlace) {
    const Bytes in = block(size());
    Bytes data = in;
    EXPECT_EQ(pcl_rsa_public_raw(&record, data.data(), size(), data.data(), size()), size());
    EXPECT_EQ(data, other.publicRaw(in));
    EXPECT_EQ(pcl_rsa_private_raw(imported.get(), data.data(), size(), data.data(), size()),
              size());
    EXPECT_EQ(data, in);
}

TEST_P(RsaSize, RawRefusesANumberAboveTheModulus) {
    const Bytes in(size(), 0xFF);
    EXPECT_FAILURE(run(pcl_rsa_private_raw, imported.get(), in), PCL_RESULT_CRYPT_ERROR,
                   "Invalid sized parameter.");
    EXPECT_FAILURE(run(pcl_rsa_public_raw, &record, in), PCL_RESULT_CRYPT_ERROR,
                   "Invalid sized parameter.");
}

TEST_P(RsaSize, RawRefusesAnOutputThatIsTooSmall) {
    const Bytes in = block(size());
    Bytes out(size(), 0xEE);
    for (const std::size_t capacity : {std::size_t{0}, std::size_t{1}, size() - 1}) {
        EXPECT_FAILURE(
            pcl_rsa_private_raw(imported.get(), in.data(), in.size(), out.data(), capacity),
            PCL_RESULT_CRYPT_ERROR, "Buffer overflow.");
        EXPECT_FAILURE(pcl_rsa_public_raw(&record, in.data(), in.size(), out.data(), capacity),
                       PCL_RESULT_CRYPT_ERROR, "Buffer overflow.");
    }
    EXPECT_EQ(out, Bytes(size(), 0xEE));
}

TEST_P(RsaSize, APublicKeyOpensNothing) {
    const OwnedRsaKey key = importPublic(other);
    const Bytes in = block(size());
    EXPECT_FAILURE(run(pcl_rsa_private_raw, key.get(), in), PCL_RESULT_CRYPT_ERROR,
                   "A private PK key is required.");
    EXPECT_FAILURE(run(pcl_rsa_oaep_decrypt, key.get(), in), PCL_RESULT_CRYPT_ERROR,
                   "A private PK key is required.");
}

TEST_P(RsaSize, OaepOpensWhatOpenSslClosed) {
    for (const std::size_t length : {std::size_t{1}, std::size_t{16}, size() - 42}) {
        const Bytes message = reference::random(length);
        EXPECT_EQ(run(pcl_rsa_oaep_decrypt, imported.get(), other.oaepEncrypt(message)), message);
    }
    EXPECT_EQ(run(pcl_rsa_oaep_decrypt, imported.get(), other.oaepEncrypt({})), Bytes{});
}

TEST_P(RsaSize, OpenSslOpensWhatOaepClosed) {
    for (const std::size_t length : {std::size_t{1}, std::size_t{16}, size() - 42}) {
        const Bytes message = reference::random(length);
        const Bytes closed = run(pcl_rsa_oaep_encrypt, &record, message);
        EXPECT_EQ(closed.size(), size());
        EXPECT_EQ(other.oaepDecrypt(closed), message);
        EXPECT_NE(run(pcl_rsa_oaep_encrypt, &record, message), closed);
    }
}

TEST_P(RsaSize, OaepWorksWithAGeneratedKey) {
    const OwnedRsaKey key(pcl_rsa_key_generate(static_cast<int>(size()), 65537));
    const PclRsaPublicKey own = publicPart(key);
    const Bytes message = reference::random(16);
    EXPECT_EQ(run(pcl_rsa_oaep_decrypt, key.get(), run(pcl_rsa_oaep_encrypt, &own, message)),
              message);
    EXPECT_EQ(run(pcl_rsa_oaep_decrypt, key.get(),
                  reference::RsaKey::fromPublic(own).oaepEncrypt(message)),
              message);
}

TEST_P(RsaSize, OaepRefusesABrokenBlock) {
    Bytes closed = other.oaepEncrypt(reference::random(16));
    closed.back() ^= 1;
    EXPECT_FAILURE(run(pcl_rsa_oaep_decrypt, imported.get(), closed), PCL_RESULT_CRYPT_ERROR,
                   "Invalid OAEP packet");
    EXPECT_FAILURE(run(pcl_rsa_oaep_decrypt, imported.get(), other.publicRaw(block(size()))),
                   PCL_RESULT_CRYPT_ERROR, "Invalid OAEP packet");
    EXPECT_FAILURE(run(pcl_rsa_oaep_decrypt, imported.get(), Bytes(size() - 1, 0)),
                   PCL_RESULT_CRYPT_ERROR, "Invalid OAEP packet");
}

TEST_P(RsaSize, OaepRefusesAMessageThatIsTooLong) {
    EXPECT_FAILURE(run(pcl_rsa_oaep_encrypt, &record, Bytes(size() - 41, 1)),
                   PCL_RESULT_CRYPT_ERROR, "Invalid sized parameter.");
}

TEST_P(RsaSize, OaepRefusesAnOutputThatIsTooSmall) {
    const Bytes message = reference::random(16);
    const Bytes closed = other.oaepEncrypt(message);
    Bytes out(size(), 0xEE);
    EXPECT_FAILURE(
        pcl_rsa_oaep_encrypt(&record, message.data(), message.size(), out.data(), size() - 1),
        PCL_RESULT_CRYPT_ERROR, "Buffer overflow.");
    EXPECT_FAILURE(
        pcl_rsa_oaep_decrypt(imported.get(), closed.data(), closed.size(), out.data(), 15),
        PCL_RESULT_CRYPT_ERROR, "Buffer overflow.");
    EXPECT_EQ(out, Bytes(size(), 0xEE));
    EXPECT_EQ(pcl_rsa_oaep_decrypt(imported.get(), closed.data(), closed.size(), out.data(), 16),
              16U);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 16), message);
    EXPECT_EQ(Bytes(out.begin() + 16, out.end()), Bytes(size() - 16, 0xEE));
}

TEST_P(RsaSize, OperationsCheckTheirArgumentsInOrder) {
    const Bytes in = block(size());
    Bytes out(size());
    for (const auto operation : {pcl_rsa_private_raw, pcl_rsa_oaep_decrypt}) {
        EXPECT_FAILURE(operation(nullptr, nullptr, 0, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'privKey' is NULL");
        EXPECT_FAILURE(operation(imported.get(), nullptr, 0, nullptr, 0),
                       PCL_RESULT_ILLEGAL_ARGUMENT, "'in' is NULL");
        EXPECT_FAILURE(operation(imported.get(), in.data(), in.size(), nullptr, 0),
                       PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
    }
    for (const auto operation : {pcl_rsa_public_raw, pcl_rsa_oaep_encrypt}) {
        EXPECT_FAILURE(operation(nullptr, nullptr, 0, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'pubKey' is NULL");
        EXPECT_FAILURE(operation(&record, nullptr, 0, nullptr, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "'in' is NULL");
        EXPECT_FAILURE(operation(&record, in.data(), in.size(), nullptr, 0),
                       PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
    }
}

TEST_P(RsaSize, APublicKeyRecordIsCheckedBeforeItIsRead) {
    const Bytes in = block(size());
    Bytes out(size());
    for (const auto operation : {pcl_rsa_public_raw, pcl_rsa_oaep_encrypt}) {
        const auto with = [&](std::uint32_t szN, std::uint32_t sze) {
            PclRsaPublicKey broken = record;
            broken.szN = szN;
            broken.sze = sze;
            operation(&broken, in.data(), in.size(), out.data(), out.size());
        };
        EXPECT_FAILURE(with(0, 3), PCL_RESULT_ILLEGAL_ARGUMENT, "'szN' is zero");
        EXPECT_FAILURE(with(192, 3), PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid key size: 192");
        EXPECT_FAILURE(with(512, 3), PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid key size: 512");
        EXPECT_FAILURE(with(record.szN, 0), PCL_RESULT_ILLEGAL_ARGUMENT, "'sze' is zero");
        EXPECT_FAILURE(with(record.szN, 5), PCL_RESULT_ILLEGAL_ARGUMENT,
                       "Unsupported exponent size: 5");
    }
}

TEST_P(RsaSize, AHandlerThatReturnsIsHarmless) {
    const Bytes tooLarge(size(), 0xFF);
    PclRsaPublicKey broken = record;
    broken.sze = 0;
    Bytes out(size(), 0xEE);
    const ScopedHandler handler;
    const auto rsaKey = imported.get();
    EXPECT_EQ(pcl_rsa_private_raw(nullptr, out.data(), size(), out.data(), size()), 0U);
    EXPECT_EQ(pcl_rsa_private_raw(rsaKey, tooLarge.data(), size(), out.data(), size()), 0U);
    EXPECT_EQ(pcl_rsa_public_raw(&record, tooLarge.data(), size(), out.data(), size()), 0U);
    EXPECT_EQ(pcl_rsa_public_raw(&broken, tooLarge.data(), size(), out.data(), size()), 0U);
    EXPECT_EQ(pcl_rsa_oaep_encrypt(&record, tooLarge.data(), size(), out.data(), size()), 0U);
    EXPECT_EQ(pcl_rsa_oaep_encrypt(&broken, tooLarge.data(), 1, out.data(), size()), 0U);
    EXPECT_EQ(pcl_rsa_oaep_decrypt(rsaKey, tooLarge.data(), 1, out.data(), size()), 0U);
    EXPECT_EQ(handler.count(), 7U);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_CRYPT_ERROR] Invalid OAEP packet");
    EXPECT_EQ(out, Bytes(size(), 0xEE));
}

TEST(Rsa, NumbersThatAreNoKeyAreRefusedByTheLibrary) {
    const Bytes zeros(128, 0);
    const Bytes in(10, 1);
    Bytes out(256);
    const OwnedRsaKey key(
        pcl_rsa_private_key_import(zeros.data(), 128, zeros.data(), 1, zeros.data(), 1));
    EXPECT_FAILURE(pcl_rsa_private_raw(key.get(), in.data(), in.size(), out.data(), out.size()),
                   PCL_RESULT_CRYPT_ERROR, "Invalid sized parameter.");
}
