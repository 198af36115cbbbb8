/* A poll that waits, and an abort from a second thread, on a system as Windows is and Wine is not:
 * of a handle that was not opened for overlapped operations it runs one at a time.
 * usage: windows_abort PORT, with a device at the port that leaves captures unanswered */
#include "tests/windows/check.h"
#include "tests/windows/imports.h"

#include <stdio.h>

enum { CAN = 0x18, MAX_HANDLES = 16 };

static CRITICAL_SECTION one_at_a_time;
static HANDLE synchronous[MAX_HANDLES];
static int synchronous_count;
static LARGE_INTEGER can_sent;

static BOOL is_synchronous(HANDLE handle) {
    for (int i = 0; i < synchronous_count; ++i) {
        if (synchronous[i] == handle) {
            return TRUE;
        }
    }
    return FALSE;
}

static HANDLE WINAPI open_file(LPCSTR name, DWORD access, DWORD share,
                               SECURITY_ATTRIBUTES *security, DWORD disposition, DWORD flags,
                               HANDLE template_file) {
    const HANDLE handle =
        CreateFileA(name, access, share, security, disposition, flags, template_file);
    if (handle != INVALID_HANDLE_VALUE && (flags & FILE_FLAG_OVERLAPPED) == 0 &&
        synchronous_count < MAX_HANDLES) {
        synchronous[synchronous_count++] = handle;
    }
    return handle;
}

static void enter(HANDLE handle) {
    if (is_synchronous(handle)) {
        EnterCriticalSection(&one_at_a_time);
    }
}

static BOOL leave(HANDLE handle, BOOL result) {
    if (is_synchronous(handle)) {
        const DWORD error = GetLastError();
        LeaveCriticalSection(&one_at_a_time);
        SetLastError(error);
    }
    return result;
}

static BOOL WINAPI read_file(HANDLE handle, void *buffer, DWORD count, DWORD *got,
                             OVERLAPPED *operation) {
    enter(handle);
    return leave(handle, ReadFile(handle, buffer, count, got, operation));
}

static BOOL WINAPI write_file(HANDLE handle, const void *data, DWORD count, DWORD *written,
                              OVERLAPPED *operation) {
    enter(handle);
    if (count == 1 && *(const unsigned char *)data == CAN) {
        QueryPerformanceCounter(&can_sent);
    }
    return leave(handle, WriteFile(handle, data, count, written, operation));
}

static BOOL WINAPI set_timeouts(HANDLE handle, COMMTIMEOUTS *timeouts) {
    enter(handle);
    return leave(handle, SetCommTimeouts(handle, timeouts));
}

static BOOL WINAPI purge(HANDLE handle, DWORD flags) {
    enter(handle);
    return leave(handle, PurgeComm(handle, flags));
}

static BOOL WINAPI clear_error(HANDLE handle, DWORD *errors, COMSTAT *status) {
    enter(handle);
    return leave(handle, ClearCommError(handle, errors, status));
}

static void replace(const char *name, void (*function)(void)) {
    check(name, replace_import(GetModuleHandleA("pinpad.dll"), name, (FARPROC)function) != NULL);
}

static DWORD WINAPI poll_once(void *result) {
    char typed[PINPAD_CLEAR_DATA_SIZE];
    char notification[PINPAD_NOTIFICATION_SIZE];
    *(int32_t *)result = abecsGetClearDataResponse(typed, notification);
    return 0;
}

static void abort_during_poll(void) {
    LARGE_INTEGER begin;
    LARGE_INTEGER ticks_per_second;
    int32_t polled = 0;

    abecsGetClearData(1, 5, 11, 30);
    check_no_failure("the capture begins");
    const HANDLE poller = CreateThread(NULL, 0, poll_once, &polled, 0, NULL);
    Sleep(700);
    QueryPerformanceFrequency(&ticks_per_second);
    QueryPerformanceCounter(&begin);
    can_sent.QuadPart = 0;
    PP_Abort();
    WaitForSingleObject(poller, INFINITE);
    CloseHandle(poller);
    const double millis =
        (double)(can_sent.QuadPart - begin.QuadPart) * 1000 / (double)ticks_per_second.QuadPart;
    printf("  CAN after %.1f ms\n", millis);
    check("CAN leaves at once", can_sent.QuadPart != 0 && millis < 100);
    /* Either call may have got the EOT. The second abort has the line to itself. */
    check_forget_failure();
    PP_Abort();
    check_no_failure("the command is over");
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    InitializeCriticalSection(&one_at_a_time);
    pcl_exception_set_uncaught_handler(check_on_failure);
    replace("CreateFileA", (void (*)(void))open_file);
    replace("ReadFile", (void (*)(void))read_file);
    replace("WriteFile", (void (*)(void))write_file);
    replace("SetCommTimeouts", (void (*)(void))set_timeouts);
    replace("PurgeComm", (void (*)(void))purge);
    replace("ClearCommError", (void (*)(void))clear_error);
    check_number("open", PINPAD_OK, PP_Open(argv[1], 0));
    for (int round = 0; round < 3; ++round) {
        abort_during_poll();
    }
    check_number("close", PINPAD_OK, PP_Close(NULL));
    check_no_failure("and nothing failed");
    return check_end();
}
