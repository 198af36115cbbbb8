/* Loads the library, makes failing calls on threads, one of which outlives the unloading, and
 * unloads it, again and again.
 * usage: windows_reload */
#include "tests/windows/check.h"
#include "tests/windows/resources.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#if defined(_WIN64)
#define EXPORTED(name, bytes) name
#else
#define EXPORTED(name, bytes) name "@" #bytes
#endif

enum { WARM_UP = 5, CYCLES = 50, PATIENCE = 10000 };

typedef int32_t(PINPAD_CALL *close_function)(const char *message);
typedef void(PINPAD_CALL *handler)(int32_t code, const char *message);
typedef void(PINPAD_CALL *set_handler_function)(handler function);

struct caller {
    close_function close;
    HANDLE called;
    HANDLE unloaded; /* null when the thread need not wait for that */
};

static DWORD WINAPI call(void *argument) {
    const struct caller *caller = (const struct caller *)argument;
    check_number("close without a session", PINPAD_FAILED, caller->close(NULL));
    check_failure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL");
    SetEvent(caller->called);
    if (caller->unloaded != NULL) {
        WaitForSingleObject(caller->unloaded, PATIENCE);
    }
    return 0;
}

static void join(HANDLE thread) {
    check_number("end of a thread", WAIT_OBJECT_0, WaitForSingleObject(thread, PATIENCE));
    CloseHandle(thread);
}

static void (*function_of(HMODULE library, const char *name))(void) {
    return (void (*)(void))GetProcAddress(library, name);
}

static void cycle(void) {
    HMODULE library = LoadLibraryA("pinpad.dll");
    check("the library is loaded", library != NULL);
    const set_handler_function set_handler = (set_handler_function)function_of(
        library, EXPORTED("pcl_exception_set_uncaught_handler", 4));
    const close_function close = (close_function)function_of(library, EXPORTED("PP_Close", 4));
    check("its functions are found", set_handler != NULL && close != NULL);

    struct caller early = {close, CreateEventA(NULL, TRUE, FALSE, NULL), NULL};
    struct caller late = {close, CreateEventA(NULL, TRUE, FALSE, NULL),
                          CreateEventA(NULL, TRUE, FALSE, NULL)};
    set_handler(check_on_failure);
    join(CreateThread(NULL, 0, call, &early, 0, NULL));
    HANDLE survivor = CreateThread(NULL, 0, call, &late, 0, NULL);
    check_number("the call", WAIT_OBJECT_0, WaitForSingleObject(late.called, PATIENCE));

    check("the library is let go", FreeLibrary(library));
    SetEvent(late.unloaded);
    join(survivor);
    CloseHandle(early.called);
    CloseHandle(late.called);
    CloseHandle(late.unloaded);
}

static void reload(int times) {
    for (int i = 0; i < times; ++i) {
        cycle();
    }
}

int main(void) {
    reload(WARM_UP);
    resources_check_flat("50 times loaded and unloaded", reload, CYCLES);
    return check_end();
}
