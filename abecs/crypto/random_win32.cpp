#include "abecs/crypto/random.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <tommath.h>
#include <wincrypt.h>

namespace {

mp_err fillNumber(void *out, std::size_t size) {
    return pcl_random_fill(out, size) ? MP_OKAY : MP_ERR;
}

} // namespace

// The provider is released at once: when the library is unloaded it is too late for that.
bool pcl_random_fill(void *buffer, std::size_t size) {
    HCRYPTPROV provider = 0;
    if (CryptAcquireContextA(&provider, nullptr, nullptr, PROV_RSA_FULL,
                             CRYPT_VERIFYCONTEXT | CRYPT_SILENT) == FALSE) {
        return false;
    }
    const BOOL filled =
        CryptGenRandom(provider, static_cast<DWORD>(size), static_cast<BYTE *>(buffer));
    CryptReleaseContext(provider, 0);
    return filled != FALSE;
}

// LibTomMath is linked in. By itself it would keep a provider for ever.
void pcl_random_serve_numbers() {
    mp_rand_source(fillNumber);
}
