// After a secure session this process holds neither its key nor what the customer typed, and the
// RSA key pair that brought the key is wiped where it stood. The device is a process of its own, so
// that every copy that is found is the library's.

#include "abecs/commands/capture.h"
#include "abecs/commands/close.h"
#include "abecs/commands/event.h"
#include "abecs/crypto/rsa_handle.h"
#include "abecs/crypto/rsa_key.h"
#include "abecs/open.h"
#include "core/memory.h"
#include "tests/crypto/memory_scan.h"
#include "tests/robustness/device_program.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>
#include <tommath.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t DIGITS = 4;
constexpr std::size_t TYPED = 20;

/// A private number of a key pair, masked, and where it stands.
struct Place {
    Secret digits;
    std::uintptr_t address;
};

/// Those of the key pairs that were generated.
std::vector<Place> privateNumbers;

// A number's digits from the middle on: its very ends may be the same in other numbers.
Place middleOf(void *number) {
    const auto *integer = static_cast<const mp_int *>(number);
    const mp_digit *middle = integer->dp + integer->used / 2 - DIGITS / 2;
    return {Secret(middle, DIGITS * sizeof(mp_digit)), reinterpret_cast<std::uintptr_t>(middle)};
}

} // namespace

// The linker sends the library's generation of key pairs here.
PclRsaKey *realGenerate(std::int32_t size,
                        std::int32_t exponent) asm("__real__Z20pcl_rsa_key_generateii");
PclRsaKey *watchedGenerate(std::int32_t size,
                           std::int32_t exponent) asm("__wrap__Z20pcl_rsa_key_generateii");

PclRsaKey *watchedGenerate(std::int32_t size, std::int32_t exponent) {
    PclRsaKey *pair = realGenerate(size, exponent);
    for (void *number : {pair->key.p, pair->key.q, pair->key.d, pair->key.dP, pair->key.dQ}) {
        privateNumbers.push_back(middleOf(number));
        EXPECT_TRUE(privateNumbers.back().digits.standsAt(privateNumbers.back().address));
    }
    return pair;
}

namespace {

class Secrets : public testing::Test {
protected:
    // The first search binds what it calls, and that saves the registers, with whatever was copied
    // last still in them, on the stack. No secret exists yet.
    Secrets() { EXPECT_EQ(Secret("no such text anywhere", 21).occurrences(), 0U); }

    void open(const std::string &scenario, std::uint8_t secure) {
        m_device = std::make_unique<robustness::DeviceProgram>(m_folder.path(), scenario);
        EXPECT_NO_FAILURE(m_pinpad.reset(abecs_pinpad_create(m_device->port().c_str())));
        EXPECT_NO_FAILURE(EXPECT_EQ(ABECS_RSP_STAT_ST_OK, abecs_open(m_pinpad.get(), secure)));
    }

    AbecsPinpad *pinpad() { return m_pinpad.get(); }

    robustness::TemporaryFolder m_folder;
    std::unique_ptr<robustness::DeviceProgram> m_device;
    AbecsPinpadPtr m_pinpad;
};

// Digits that nobody could have left here by chance, wiped with the object.
class Typed {
public:
    Typed() {
        std::random_device source;
        for (char &digit : m_digits) {
            digit = static_cast<char>('0' + source() % 10);
        }
    }
    ~Typed() { pcl_wipe(m_digits.data(), m_digits.size()); }
    Typed(const Typed &) = delete;
    Typed &operator=(const Typed &) = delete;

    Secret secret() const { return Secret(m_digits.data(), m_digits.size()); }

    /// A scenario, to be wiped, in which the customer types them.
    std::string scenario(const char *start, const char *end) const {
        // Grows no more, so that no unwiped part of it stays behind.
        std::string text;
        text.reserve(200);
        text += start;
        text.append(m_digits.data(), m_digits.size());
        text += end;
        return text;
    }

private:
    std::array<char, TYPED> m_digits{};
};

TEST_F(Secrets, NeitherSessionKeyNorKeyPairOutlivesASecureSession) {
    privateNumbers.clear();
    open("", 1);
    ASSERT_EQ(5U, privateNumbers.size());
    // The library of big numbers frees temporaries of its own as they are, so that what is held
    // against the session is the key pair itself.
    for (const Place &number : privateNumbers) {
        EXPECT_FALSE(number.digits.standsAt(number.address));
    }
    const Secret key(pinpad()->sessionKey.data(), pinpad()->sessionKey.size());
    // In the session, and nowhere else, while it lasts.
    EXPECT_EQ(1U, key.occurrences());
    EXPECT_NO_FAILURE(abecs_clo(pinpad(), "BYE"));
    EXPECT_EQ(0U, key.occurrences());
    m_pinpad.reset();
    EXPECT_EQ(0U, key.occurrences());
}

TEST_F(Secrets, TheKeyGoesWithASessionThatIsNotClosed) {
    open("", 1);
    const Secret key(pinpad()->sessionKey.data(), pinpad()->sessionKey.size());
    EXPECT_EQ(1U, key.occurrences());
    m_pinpad.reset();
    EXPECT_EQ(0U, key.occurrences());
}

TEST_F(Secrets, ASecondKeyReplacesTheFirst) {
    open("", 1);
    const Secret first(pinpad()->sessionKey.data(), pinpad()->sessionKey.size());
    EXPECT_NO_FAILURE(abecs_open(pinpad(), 1));
    EXPECT_EQ(0U, first.occurrences());
}

class TypedSecrets : public Secrets, public testing::WithParamInterface<int> {
protected:
    static std::uint8_t secure() { return static_cast<std::uint8_t>(GetParam()); }
};

TEST_P(TypedSecrets, CapturedDigitsStayOnlyWithTheCaller) {
    const Typed typed;
    {
        std::string scenario = typed.scenario("capture keys ", " enter\n");
        open(scenario, secure());
        pcl_wipe(scenario.data(), scenario.size());
    }
    const Secret digits = typed.secret();
    std::array<char, 1000> out{};
    EXPECT_NO_FAILURE(abecs_gcd_start(pinpad(), 1, 1, 32, 0));
    std::int32_t status = -1;
    EXPECT_NO_FAILURE(status = abecs_gcd_response(pinpad(), out.data(), nullptr));
    EXPECT_EQ(0, status);
    EXPECT_TRUE(digits.standsAt(reinterpret_cast<std::uintptr_t>(out.data())));
    // In the test's own array, and in the caller's buffer.
    EXPECT_EQ(2U, digits.occurrences());
    pcl_wipe(out.data(), out.size());
    EXPECT_EQ(1U, digits.occurrences());
}

TEST_P(TypedSecrets, CardDataGoWithTheMapOfTheEvent) {
    const Typed typed;
    {
        std::string scenario = typed.scenario("card gold track2 \"", "\"\nevent swipe gold\n");
        open(scenario, secure());
        pcl_wipe(scenario.data(), scenario.size());
    }
    const Secret track = typed.secret();
    EXPECT_NO_FAILURE(abecsCheckEvent(pinpad(), "010099", nullptr, nullptr));
    {
        AbecsParamMapPtr event(abecsParamMapCreate());
        std::int32_t status = -1;
        EXPECT_NO_FAILURE(status = abecsCheckEventResponse(pinpad(), event.get(), nullptr));
        EXPECT_EQ(0, status);
        EXPECT_EQ(2U, track.occurrences());
    }
    EXPECT_EQ(1U, track.occurrences());
}

INSTANTIATE_TEST_SUITE_P(Channels, TypedSecrets, testing::Values(0, 1), [](const auto &instance) {
    return instance.param == 0 ? "Plain" : "Secure";
});

} // namespace
