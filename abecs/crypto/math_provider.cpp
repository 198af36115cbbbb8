#include "abecs/crypto/math_provider.h"

#include <tomcrypt.h>

#include <algorithm>

namespace {

// LibTomMath frees a number's memory as it is, and the cryptographic library's own temporaries hold
// primes and decrypted blocks.
void wipeAndRelease(void *number) {
    pcl_math_wipe(number);
    ltm_desc.deinit(number);
}

// A host that goes on using the cryptographic library must not call into unloaded code.
[[gnu::destructor]] void leaveProviderBehind() {
    if (ltc_mp.deinit == wipeAndRelease) {
        ltc_mp.deinit = ltm_desc.deinit;
    }
}

} // namespace

void pcl_math_provider_install() {
    if (ltc_mp.name == nullptr) {
        ltc_mp = ltm_desc;
    }
    if (ltc_mp.deinit == ltm_desc.deinit) {
        ltc_mp.deinit = wipeAndRelease;
    }
}

void pcl_math_wipe(void *number) {
    if (number == nullptr) {
        return;
    }
    // A power of two of the same length takes the place of every digit, whatever the provider.
    // It needs no more room than the number has, so it does not fail.
    static_cast<void>(ltc_mp.twoexpt(number, std::max(ltc_mp.count_bits(number) - 1, 0)));
}
