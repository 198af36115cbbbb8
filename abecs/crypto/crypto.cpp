#include "abecs/crypto/crypto.h"

#include "abecs/crypto/math_provider.h"
#include "abecs/crypto/random.h"
#include "core/exception.h"

#include <tomcrypt.h>

namespace {

int sprngIndex = -1;
int sha1Index = -1;
int aesIndex = -1;

unsigned long readFromSystem(unsigned char *out, unsigned long length, prng_state *) {
    return pcl_random_fill(out, length) ? length : 0;
}

// The registry compares descriptors whole, so that there is one.
ltc_prng_descriptor generator;

// A host that goes on using the cryptographic library must not call into unloaded code.
[[gnu::destructor]] void leaveGeneratorBehind() {
    if (unregister_prng(&generator) == CRYPT_OK) {
        register_prng(&sprng_desc);
    }
}

} // namespace

// The ciphers ask this file for the indices, so that it is linked, and with it the constructor,
// wherever one of them is.
[[gnu::constructor]] void pcl_crypto_init() {
    pcl_math_provider_install();
    pcl_random_serve_numbers();
    // The cryptographic library's own generator counts ticks of the clock when it cannot open the
    // system's device.
    generator = sprng_desc;
    generator.read = readFromSystem;
    sprngIndex = register_prng(&generator);
    if (sprngIndex < 0) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Error registering SPRNG");
        return;
    }
    if (register_hash(&sha1_desc) < 0) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Error registering SHA-1");
        return;
    }
    const int registeredCipher = register_cipher(&aes_desc);
    if (registeredCipher < 0) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Error registering AES");
        return;
    }
    sha1Index = find_hash("sha1");
    // A host may have registered the same cipher as "rijndael"; it then counts as registered.
    const int namedCipher = find_cipher("aes");
    aesIndex = namedCipher >= 0 ? namedCipher : registeredCipher;
}

int pcl_crypto_sprng_index() {
    return sprngIndex;
}

int pcl_crypto_sha1_index() {
    return sha1Index;
}

int pcl_crypto_aes_index() {
    return aesIndex;
}

bool pcl_crypto_succeeded(int status) {
    if (status == CRYPT_OK) {
        return true;
    }
    pcl_raise(PCL_RESULT_CRYPT_ERROR, "%s", error_to_string(status));
    return false;
}
