// Random numbers come from the system by a call that needs no descriptor, or not at all: without
// them nothing secret is made, and nothing is sent.

#include "abecs/commands/display.h"
#include "abecs/crypto/crypto.h"
#include "abecs/crypto/rsa.h"
#include "abecs/open.h"
#include "core/owned.h"
#include "tests/robustness/device_program.h"
#include "tests/robustness/random_source.h"
#include "tests/support/failures.h"
#include "tests/support/stopwatch.h"

#include <gtest/gtest.h>
#include <tomcrypt.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using source::Mode;
using source::Source;
using OwnedRsaKey = PclOwned<PclRsaKey, pcl_rsa_key_destroy>;
using Block = std::array<std::uint8_t, PCL_RSA_MAX_MODULUS_SIZE>;

constexpr const char *REFUSAL = "Error reading the PRNG.";

/// No descriptor is free while it lives.
class NoDescriptor {
public:
    NoDescriptor() {
        EXPECT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &m_before));
        rlimit few = m_before;
        few.rlim_cur = 64;
        EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &few));
        for (int fd = ::dup(STDIN_FILENO); fd >= 0; fd = ::dup(STDIN_FILENO)) {
            m_taken.push_back(fd);
        }
        EXPECT_EQ(EMFILE, errno);
    }
    ~NoDescriptor() {
        for (const int fd : m_taken) {
            ::close(fd);
        }
        ::setrlimit(RLIMIT_NOFILE, &m_before);
    }
    NoDescriptor(const NoDescriptor &) = delete;
    NoDescriptor &operator=(const NoDescriptor &) = delete;

private:
    rlimit m_before{};
    std::vector<int> m_taken;
};

/// A session with the device, not yet opened.
class Randomness : public testing::Test {
protected:
    void connect() {
        m_device = std::make_unique<robustness::DeviceProgram>(m_folder.path(), "");
        EXPECT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device->port().c_str())));
    }

    void expectSecureOpen() {
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(m_pinpad.get(), 1)));
        EXPECT_EQ(1, m_pinpad->secure);
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_dex(m_pinpad.get(), "HELLO")));
    }

    robustness::TemporaryFolder m_folder;
    std::unique_ptr<robustness::DeviceProgram> m_device;
    AbecsPinpadPtr m_pinpad;
};

PclRsaPublicKey publicPart(const OwnedRsaKey &key) {
    PclRsaPublicKey record{};
    EXPECT_NO_FAILURE(pcl_rsa_export_public(key.get(), &record));
    return record;
}

OwnedRsaKey generate() {
    PclRsaKey *key = nullptr;
    EXPECT_NO_FAILURE(key = pcl_rsa_key_generate(128, 65537));
    return OwnedRsaKey(key);
}

// Encrypts, decrypts and compares: a block that was filled only in part would not come back.
void expectRoundTrip(const OwnedRsaKey &key) {
    const PclRsaPublicKey record = publicPart(key);
    const std::array<std::uint8_t, 4> text{1, 2, 3, 4};
    Block closed{};
    Block opened{};
    std::size_t size = 0;
    EXPECT_NO_FAILURE(size = pcl_rsa_oaep_encrypt(&record, text.data(), text.size(), closed.data(),
                                                  closed.size()));
    EXPECT_NO_FAILURE(EXPECT_EQ(text.size(), pcl_rsa_oaep_decrypt(key.get(), closed.data(), size,
                                                                  opened.data(), opened.size())));
    EXPECT_TRUE(std::equal(text.begin(), text.end(), opened.begin()));
}

TEST_F(Randomness, NeedsNoFreeDescriptor) {
    connect();
    const Source source(Mode::GOOD);
    const NoDescriptor none;
    ASSERT_EQ(-1, ::dup(STDIN_FILENO));
    expectSecureOpen();
    EXPECT_GT(source.draws(), 0U);
    EXPECT_EQ(0U, source.looksAtTheClock());
}

TEST_F(Randomness, NeedsNoDevice) {
    connect();
    const Source source(Mode::GOOD);
    ASSERT_EQ(-1, ::open("/dev/urandom", O_RDONLY));
    ASSERT_EQ(1U, source.devicesOpened());
    expectSecureOpen();
    EXPECT_EQ(1U, source.devicesOpened());
    EXPECT_EQ(0U, source.looksAtTheClock());
}

TEST_F(Randomness, WithoutItASecureOpenFailsAtOnceAndThePlainOneWorks) {
    connect();
    for (const Mode mode : {Mode::FAILING, Mode::EMPTY}) {
        const Source source(mode);
        const Elapsed taken = timeOf([&] {
            EXPECT_FAILURE(abecs_open(m_pinpad.get(), 1), PCL_RESULT_CRYPT_ERROR, REFUSAL);
        });
        EXPECT_LT(taken, std::chrono::seconds(1));
        EXPECT_EQ(0, m_pinpad->secure);
        EXPECT_EQ(0U, source.looksAtTheClock());
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(m_pinpad.get(), 0)));
    }
    expectSecureOpen();
}

TEST_F(Randomness, MayComeInPiecesAndAfterInterruptions) {
    connect();
    const Source source(Mode::INTERRUPTED);
    expectSecureOpen();
    expectRoundTrip(generate());
    EXPECT_EQ(0U, source.looksAtTheClock());
}

TEST_F(Randomness, OfAnInterruptedCallFillsTheWholeBuffer) {
    const Source source(Mode::INTERRUPTED);
    const ltc_prng_descriptor &generator = prng_descriptor[pcl_crypto_sprng_index()];
    // A byte that is left as it was stays so in every round.
    Block seen{};
    for (int round = 0; round < 20; ++round) {
        Block block{};
        EXPECT_EQ(block.size(), generator.read(block.data(), block.size(), nullptr));
        for (std::size_t i = 0; i < block.size(); ++i) {
            seen[i] = static_cast<std::uint8_t>(seen[i] | block[i]);
        }
    }
    EXPECT_EQ(seen.end(), std::find(seen.begin(), seen.end(), std::uint8_t{0}));
    EXPECT_EQ(20 * 2 * seen.size(), source.draws());
}

TEST_F(Randomness, IsNeededForKeysBlocksAndBlinding) {
    const OwnedRsaKey key = generate();
    const PclRsaPublicKey record = publicPart(key);
    const std::array<std::uint8_t, 4> text{1, 2, 3, 4};
    Block closed{};
    Block opened{};
    std::size_t size = 0;
    EXPECT_NO_FAILURE(
        size = pcl_rsa_public_raw(&record, text.data(), text.size(), closed.data(), closed.size()));

    const Source source(Mode::FAILING);
    EXPECT_FAILURE(pcl_rsa_key_generate(256, 65537), PCL_RESULT_CRYPT_ERROR, REFUSAL);
    EXPECT_FAILURE(
        pcl_rsa_oaep_encrypt(&record, text.data(), text.size(), opened.data(), opened.size()),
        PCL_RESULT_CRYPT_ERROR, REFUSAL);
    EXPECT_FAILURE(
        pcl_rsa_private_raw(key.get(), closed.data(), size, opened.data(), opened.size()),
        PCL_RESULT_CRYPT_ERROR, error_to_string(CRYPT_ERROR));
    EXPECT_EQ(0U, source.looksAtTheClock());
}

} // namespace
