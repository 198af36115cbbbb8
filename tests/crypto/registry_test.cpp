#include "abecs/crypto/crypto.h"

#include "tests/support/failures.h"

#include <gtest/gtest.h>
#include <tomcrypt.h>

#include <algorithm>
#include <array>
#include <string>

#include <dlfcn.h>

namespace {

using Names = std::array<std::string, TAB_SIZE>;

Names numberedNames() {
    Names names;
    for (std::size_t i = 0; i < names.size(); ++i) {
        names[i] = "filler" + std::to_string(i);
    }
    return names;
}

// Takes the descriptor out of its table and every free place with it; puts things back at the end.
template <typename Descriptor>
class FullTable {
public:
    using Change = int (*)(const Descriptor *);

    FullTable(const Descriptor &descriptor, Change enter, Change remove)
        : m_enter(enter), m_remove(remove), m_own(descriptor), m_names(numberedNames()) {
        m_remove(&m_own);
        while (m_count < m_names.size()) {
            Descriptor &filler = m_fillers[m_count];
            filler = m_own;
            filler.name = m_names[m_count].c_str();
            if constexpr (requires { filler.ID; }) {
                filler.ID = static_cast<unsigned char>(128 + m_count);
            }
            if (m_enter(&filler) < 0) {
                break;
            }
            ++m_count;
        }
    }
    ~FullTable() {
        while (m_count > 0) {
            m_remove(&m_fillers[--m_count]);
        }
        m_enter(&m_own);
        pcl_crypto_init();
    }
    FullTable(const FullTable &) = delete;
    FullTable &operator=(const FullTable &) = delete;

private:
    Change m_enter;
    Change m_remove;
    Descriptor m_own;
    Names m_names;
    std::array<Descriptor, TAB_SIZE> m_fillers;
    std::size_t m_count = 0;
};

class Provider : public testing::Test {
protected:
    ~Provider() override { ltc_mp = before; }

    const ltc_math_descriptor before = ltc_mp;
};

} // namespace

TEST(Registry, IsFilledAtLoad) {
    EXPECT_GE(pcl_crypto_sprng_index(), 0);
    EXPECT_GE(pcl_crypto_sha1_index(), 0);
    EXPECT_GE(pcl_crypto_aes_index(), 0);
    ASSERT_NE(ltc_mp.name, nullptr);
    EXPECT_STREQ(ltc_mp.name, ltm_desc.name);
}

TEST(Registry, IndicesAreThoseOfTheNames) {
    ASSERT_EQ(prng_is_valid(pcl_crypto_sprng_index()), CRYPT_OK);
    ASSERT_EQ(hash_is_valid(pcl_crypto_sha1_index()), CRYPT_OK);
    ASSERT_EQ(cipher_is_valid(pcl_crypto_aes_index()), CRYPT_OK);
    EXPECT_STREQ(prng_descriptor[pcl_crypto_sprng_index()].name, "sprng");
    EXPECT_STREQ(hash_descriptor[pcl_crypto_sha1_index()].name, "sha1");
    EXPECT_STREQ(cipher_descriptor[pcl_crypto_aes_index()].name, "aes");
}

TEST(Registry, InitialisingAgainChangesNothing) {
    const int sprng = pcl_crypto_sprng_index();
    const int sha1 = pcl_crypto_sha1_index();
    const int aes = pcl_crypto_aes_index();
    for (int i = 0; i < 2 * TAB_SIZE; ++i) {
        EXPECT_NO_FAILURE(pcl_crypto_init());
    }
    EXPECT_EQ(pcl_crypto_sprng_index(), sprng);
    EXPECT_EQ(pcl_crypto_sha1_index(), sha1);
    EXPECT_EQ(pcl_crypto_aes_index(), aes);
}

TEST(Registry, TheHostsGeneratorOfTheSameNameIsKeptAndNotUsed) {
    const ltc_prng_descriptor own = prng_descriptor[pcl_crypto_sprng_index()];
    unregister_prng(&own);
    const int hosts = register_prng(&sprng_desc);
    EXPECT_NO_FAILURE(pcl_crypto_init());
    EXPECT_NE(pcl_crypto_sprng_index(), hosts);
    EXPECT_NE(prng_descriptor[pcl_crypto_sprng_index()].read, sprng_desc.read);
    EXPECT_EQ(prng_descriptor[hosts].read, sprng_desc.read);
    EXPECT_EQ(find_prng("sprng"), std::min(hosts, pcl_crypto_sprng_index()));
    unregister_prng(&sprng_desc);
}

TEST(Registry, AnUnloadedLibraryLeavesGeneratorsThatWork) {
    void *library = dlopen(PINPAD_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    ASSERT_EQ(dlclose(library), 0);
    ASSERT_EQ(dlopen(PINPAD_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
    std::array<unsigned char, 8> bytes{};
    int generators = 0;
    for (int i = 0; i < TAB_SIZE; ++i) {
        const ltc_prng_descriptor &generator = prng_descriptor[i];
        if (generator.name != nullptr && std::string(generator.name) == "sprng") {
            EXPECT_EQ(generator.read(bytes.data(), bytes.size(), nullptr), bytes.size());
            ++generators;
        }
    }
    EXPECT_EQ(generators, 2);
    unregister_prng(&sprng_desc);
}

TEST(Registry, AFullTableOfGeneratorsIsReported) {
    const FullTable<ltc_prng_descriptor> full(prng_descriptor[pcl_crypto_sprng_index()],
                                              register_prng, unregister_prng);
    EXPECT_FAILURE(pcl_crypto_init(), PCL_RESULT_RUNTIME_ERROR, "Error registering SPRNG");
}

TEST(Registry, AFullTableOfHashesIsReported) {
    const FullTable<ltc_hash_descriptor> full(sha1_desc, register_hash, unregister_hash);
    EXPECT_FAILURE(pcl_crypto_init(), PCL_RESULT_RUNTIME_ERROR, "Error registering SHA-1");
}

TEST(Registry, AFullTableOfCiphersIsReported) {
    const FullTable<ltc_cipher_descriptor> full(aes_desc, register_cipher, unregister_cipher);
    EXPECT_FAILURE(pcl_crypto_init(), PCL_RESULT_RUNTIME_ERROR, "Error registering AES");
}

TEST(Registry, TheCipherUnderItsOtherNameIsUsed) {
    unregister_cipher(&aes_desc);
    const int rijndael = register_cipher(&rijndael_desc);
    EXPECT_EQ(find_cipher("aes"), -1);
    EXPECT_NO_FAILURE(pcl_crypto_init());
    EXPECT_EQ(pcl_crypto_aes_index(), rijndael);
    unregister_cipher(&rijndael_desc);
    pcl_crypto_init();
    EXPECT_EQ(pcl_crypto_aes_index(), find_cipher("aes"));
    EXPECT_GE(pcl_crypto_aes_index(), 0);
}

TEST_F(Provider, OfTheHostIsKept) {
    ltc_mp.name = "the host's";
    ltc_mp.deinit = [](void *) {};
    const ltc_math_descriptor installed = ltc_mp;
    pcl_crypto_init();
    EXPECT_STREQ(ltc_mp.name, installed.name);
    EXPECT_EQ(ltc_mp.deinit, installed.deinit);
}

TEST_F(Provider, IsInstalledWhereNoneIs) {
    ltc_mp = ltc_math_descriptor{};
    pcl_crypto_init();
    EXPECT_STREQ(ltc_mp.name, ltm_desc.name);
    EXPECT_EQ(ltc_mp.exptmod, ltm_desc.exptmod);
    EXPECT_EQ(ltc_mp.deinit, before.deinit);
}

TEST_F(Provider, ThatTheHostInstalledWipesItsNumbersIfItIsLibTomMath) {
    ltc_mp = ltm_desc;
    pcl_crypto_init();
    EXPECT_NE(ltc_mp.deinit, ltm_desc.deinit);
    EXPECT_EQ(ltc_mp.deinit, before.deinit);
}

TEST(Status, SuccessRaisesNothingAndErrorsCarryTheLibrarysText) {
    EXPECT_NO_FAILURE(EXPECT_TRUE(pcl_crypto_succeeded(CRYPT_OK)));
    for (const int status :
         {int{CRYPT_ERROR}, int{CRYPT_BUFFER_OVERFLOW}, int{CRYPT_INVALID_CIPHER}, 9999}) {
        EXPECT_FAILURE(static_cast<void>(pcl_crypto_succeeded(status)), PCL_RESULT_CRYPT_ERROR,
                       error_to_string(status));
    }
    const ScopedHandler handler;
    EXPECT_FALSE(pcl_crypto_succeeded(CRYPT_BUFFER_OVERFLOW));
    EXPECT_EQ(handler.message(), "[PCL_RESULT_CRYPT_ERROR] Buffer overflow.");
}
