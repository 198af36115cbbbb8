#include "abecs/crypto/aes.h"
#include "abecs/crypto/math_provider.h"
#include "abecs/crypto/rsa_handle.h"
#include "abecs/crypto/rsa_key.h"
#include "core/memory.h"
#include "core/owned.h"
#include "tests/crypto/memory_scan.h"
#include "tests/crypto/reference.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>
#include <tomcrypt.h>
#include <tommath.h>

#include <random>
#include <vector>

using reference::Bytes;

namespace {

using OwnedRsaKey = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;

constexpr std::size_t DIGITS = 4;

class Wipe : public testing::Test {
protected:
    // The first search binds what it calls, and that saves the registers, with whatever was copied
    // last still in them, on the stack. No secret exists yet.
    Wipe() { EXPECT_EQ(Secret("no such text anywhere", 21).occurrences(), 0U); }
};

// Made here: a generator with buffers of its own would keep a copy.
Bytes unguessable(std::size_t size) {
    std::random_device source;
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes) {
        byte = static_cast<std::uint8_t>(source());
    }
    return bytes;
}

void wipe(Bytes &bytes) {
    pcl_wipe(bytes.data(), bytes.size());
}

// A number's digits from the middle on, where they stand in memory: its very ends may be the same
// in other numbers.
struct Place {
    Secret digits;
    std::uintptr_t address;
};

Place middleOf(void *number) {
    const auto *integer = static_cast<const mp_int *>(number);
    const mp_digit *middle = integer->dp + integer->used / 2 - DIGITS / 2;
    return {Secret(middle, DIGITS * sizeof(mp_digit)), reinterpret_cast<std::uintptr_t>(middle)};
}

// The digits of a number that is given as bytes, without leaving them anywhere.
Secret digitsOf(const Bytes &bytes) {
    void *number = nullptr;
    EXPECT_EQ(ltc_mp.init(&number), CRYPT_OK);
    // A number that grew while it is read would leave parts of itself behind.
    EXPECT_EQ(ltc_mp.twoexpt(number, static_cast<int>(bytes.size() + 16) * 8), CRYPT_OK);
    EXPECT_EQ(ltc_mp.unsigned_read(number, const_cast<unsigned char *>(bytes.data()),
                                   static_cast<unsigned long>(bytes.size())),
              CRYPT_OK);
    const Secret secret = middleOf(number).digits;
    pcl_math_wipe(number);
    ltc_mp.deinit(number);
    return secret;
}

} // namespace

TEST_F(Wipe, TheSearchFindsWhatIsThere) {
    Bytes bytes = unguessable(32);
    const Secret secret(bytes.data(), bytes.size());
    EXPECT_EQ(secret.occurrences(), 1U);
    EXPECT_TRUE(secret.standsAt(reinterpret_cast<std::uintptr_t>(bytes.data())));
    wipe(bytes);
    EXPECT_EQ(secret.occurrences(), 0U);
    EXPECT_FALSE(secret.standsAt(reinterpret_cast<std::uintptr_t>(bytes.data())));
}

TEST_F(Wipe, ADestroyedAesKeyIsGone) {
    Bytes bytes = unguessable(32);
    // Its end: the allocator itself overwrites the beginning of what is freed.
    const Secret secret(bytes.data() + 16, 16);
    PclAesKey *key = pcl_aes_key_create(bytes.data(), bytes.size());
    const auto place = reinterpret_cast<std::uintptr_t>(key->key + 16);
    wipe(bytes);
    EXPECT_TRUE(secret.standsAt(place));
    EXPECT_EQ(secret.occurrences(), 1U);
    Bytes data(64, 1);
    pcl_aes_cbc_encrypt(key, nullptr, data.data(), data.data(), data.size());
    pcl_aes_ecb_decrypt(key, data.data(), data.data(), data.size());
    pcl_aes_key_destroy(&key);
    // Looked at first, before the memory is used again.
    EXPECT_FALSE(secret.standsAt(place));
    EXPECT_EQ(secret.occurrences(), 0U);
}

TEST_F(Wipe, NoExpandedAesKeyIsLeft) {
    Bytes bytes = unguessable(16);
    symmetric_key schedule;
    ASSERT_EQ(aes_setup(bytes.data(), 16, 0, &schedule), CRYPT_OK);
    const Secret lastRound(&schedule.rijndael.eK[40], 16);
    EXPECT_GE(lastRound.occurrences(), 1U);
    pcl_wipe(&schedule, sizeof schedule);
    EXPECT_EQ(lastRound.occurrences(), 0U);

    PclAesKey *key = pcl_aes_key_create(bytes.data(), bytes.size());
    Bytes data(64, 1);
    pcl_aes_cbc_encrypt(key, nullptr, data.data(), data.data(), data.size());
    EXPECT_EQ(lastRound.occurrences(), 0U);
    pcl_aes_ecb_encrypt(key, data.data(), data.data(), data.size());
    EXPECT_EQ(lastRound.occurrences(), 0U);
    pcl_aes_key_destroy(&key);
}

TEST_F(Wipe, TheNumbersOfADestroyedRsaKeyAreGone) {
    PclRsaKey *key = pcl_rsa_key_generate(256, 65537);
    std::vector<Place> places;
    for (void *number :
         {key->key.d, key->key.p, key->key.q, key->key.dP, key->key.dQ, key->key.qP}) {
        places.push_back(middleOf(number));
    }
    for (const Place &place : places) {
        EXPECT_TRUE(place.digits.standsAt(place.address));
    }
    pcl_rsa_key_destroy(&key);
    for (const Place &place : places) {
        EXPECT_FALSE(place.digits.standsAt(place.address));
    }
}

TEST_F(Wipe, AnImportedPrivateExponentIsGone) {
    Bytes N;
    Bytes d;
    {
        const reference::RsaKey other = reference::RsaKey::generate(2048);
        N = other.N();
        d = other.d();
    }
    const Secret secret = digitsOf(d);
    EXPECT_EQ(secret.occurrences(), 0U);
    const Bytes e{1, 0, 1};
    PclRsaKey *key =
        pcl_rsa_private_key_import(N.data(), N.size(), e.data(), e.size(), d.data(), d.size());
    wipe(d);
    EXPECT_GE(secret.occurrences(), 1U);
    Bytes block(256, 1);
    EXPECT_EQ(pcl_rsa_private_raw(key, block.data(), block.size(), block.data(), block.size()),
              256U);
    pcl_rsa_key_destroy(&key);
    EXPECT_EQ(secret.occurrences(), 0U);
}

TEST_F(Wipe, AKeyUnderAProviderOfTheHostIsGoneToo) {
    const ltc_math_descriptor before = ltc_mp;
    ltc_mp = ltm_desc;
    PclRsaKey *key = pcl_rsa_key_generate(128, 65537);
    const Place d = middleOf(key->key.d);
    EXPECT_TRUE(d.digits.standsAt(d.address));
    pcl_rsa_key_destroy(&key);
    EXPECT_FALSE(d.digits.standsAt(d.address));
    ltc_mp = before;
}

TEST_F(Wipe, AnOpenedBlockStaysOnlyWithTheCaller) {
    const OwnedRsaKey key(pcl_rsa_key_generate(256, 65537));
    PclRsaPublicKey record{};
    pcl_rsa_export_public(key.get(), &record);
    Bytes opened = unguessable(256);
    opened[0] = 0;
    opened[1] = 2;
    const Secret asBytes(opened.data() + 200, 32);
    const Secret asDigits = digitsOf(opened);
    const Bytes closed = reference::RsaKey::fromPublic(record).publicRaw(opened);
    wipe(opened);
    EXPECT_EQ(asBytes.occurrences(), 0U);
    EXPECT_EQ(asDigits.occurrences(), 0U);
    EXPECT_EQ(
        pcl_rsa_private_raw(key.get(), closed.data(), closed.size(), opened.data(), opened.size()),
        256U);
    EXPECT_EQ(asBytes.occurrences(), 1U);
    EXPECT_EQ(asDigits.occurrences(), 0U);
    wipe(opened);
    EXPECT_EQ(asBytes.occurrences(), 0U);
}
