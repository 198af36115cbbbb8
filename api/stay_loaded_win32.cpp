#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

// What the language keeps for a thread that has called the library goes when that thread ends, and
// only if the library is still there. It stays until the process ends, whatever a host unloads.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void * /*unused*/) {
    if (reason != DLL_PROCESS_ATTACH) {
        return TRUE;
    }
    HMODULE pinned = nullptr;
    return GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN |
                                  GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<LPCSTR>(library), &pinned);
}
