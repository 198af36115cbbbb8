/* A system that has no random numbers to give: a secure open fails at once, a plain one works.
 * usage: windows_randomness PORT */
#include "tests/windows/check.h"
#include "tests/windows/imports.h"

#include <stdio.h>

#include <wincrypt.h>

static BOOL provider_missing;
static BOOL numbers_missing;
static LONG acquired;

static BOOL WINAPI acquire(HCRYPTPROV *provider, LPCSTR container, LPCSTR name, DWORD type,
                           DWORD flags) {
    if (provider_missing) {
        SetLastError((DWORD)NTE_FAIL);
        return FALSE;
    }
    InterlockedIncrement(&acquired);
    return CryptAcquireContextA(provider, container, name, type, flags);
}

static BOOL WINAPI generate(HCRYPTPROV provider, DWORD size, BYTE *buffer) {
    if (numbers_missing) {
        SetLastError((DWORD)NTE_FAIL);
        return FALSE;
    }
    return CryptGenRandom(provider, size, buffer);
}

static BOOL WINAPI release(HCRYPTPROV provider, DWORD flags) {
    InterlockedDecrement(&acquired);
    return CryptReleaseContext(provider, flags);
}

static void check_refusal(const char *port) {
    const DWORD begin = GetTickCount();
    check_number("a secure open without random numbers", PINPAD_FAILED, PP_Open(port, 1));
    const DWORD waited = GetTickCount() - begin;
    check_failure(PINPAD_ERROR_CRYPT, "[PCL_RESULT_CRYPT_ERROR] Error reading the PRNG.");
    printf("  after %lu ms\n", (unsigned long)waited);
    check("fails at once", waited < 5000);
    check_number("a plain one works", PINPAD_OK, PP_Open(port, 0));
    check_number("and its close", PINPAD_OK, PP_Close(NULL));
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    const HMODULE library = GetModuleHandleA("pinpad.dll");
    pcl_exception_set_uncaught_handler(check_on_failure);
    check("the library asks the system's provider",
          replace_import(library, "CryptAcquireContextA", (FARPROC)(void (*)(void))acquire) &&
              replace_import(library, "CryptGenRandom", (FARPROC)(void (*)(void))generate) &&
              replace_import(library, "CryptReleaseContext", (FARPROC)(void (*)(void))release));
    check_number("secure open", PINPAD_OK, PP_Open(argv[1], 1));
    check_number("close", PINPAD_OK, PP_Close(NULL));
    check_number("no provider is kept", 0, acquired);
    provider_missing = TRUE;
    check_refusal(argv[1]);
    provider_missing = FALSE;
    numbers_missing = TRUE;
    check_refusal(argv[1]);
    check_number("no provider is kept after a failure", 0, acquired);
    numbers_missing = FALSE;
    check_number("secure open again", PINPAD_OK, PP_Open(argv[1], 1));
    check_number("and close", PINPAD_OK, PP_Close(NULL));
    return check_end();
}
