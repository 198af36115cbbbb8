/* Calls from threads that end and from a pool, one at a time as the library asks for, failures on
 * all of them at once, and aborts from other threads.
 * usage: windows_threads PORT, with a device at the port that follows threads.scn */
#include "tests/windows/check.h"
#include "tests/windows/resources.h"

#include <stdio.h>
#include <string.h>

#include <windows.h>

enum { MANY = 200, MAX_POLLS = 30, PATIENCE = 60000 };

static CRITICAL_SECTION one_at_a_time;
static HANDLE begin;
static HANDLE pool_done;
static LONG pool_left;
static LONG captures;
static LONG refusals;

static void capture(void) {
    char typed[PINPAD_CLEAR_DATA_SIZE] = "";
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t result = PINPAD_NO_ANSWER;

    EnterCriticalSection(&one_at_a_time);
    abecsGetClearData(1, 5, 11, 30);
    for (int poll = 0;
         poll < MAX_POLLS && (result == PINPAD_NO_ANSWER || result == PINPAD_NOTIFICATION);
         ++poll) {
        result = abecsGetClearDataResponse(typed, notification);
    }
    if (result == PINPAD_OK && strcmp(typed, "12345678") == 0) {
        ++captures;
    }
    LeaveCriticalSection(&one_at_a_time);
}

static DWORD WINAPI capture_and_end(void *unused) {
    (void)unused;
    WaitForSingleObject(begin, INFINITE);
    capture();
    return 0;
}

static DWORD WINAPI fail_and_end(void *unused) {
    (void)unused;
    WaitForSingleObject(begin, INFINITE);
    if (PP_Close("BYE") == PINPAD_FAILED) {
        InterlockedIncrement(&refusals);
    }
    return 0;
}

static DWORD WINAPI capture_in_pool(void *unused) {
    (void)unused;
    capture();
    if (InterlockedDecrement(&pool_left) == 0) {
        SetEvent(pool_done);
    }
    return 0;
}

static DWORD WINAPI abort_and_end(void *unused) {
    (void)unused;
    Sleep(100);
    PP_Abort();
    return 0;
}

static void run_threads(LPTHREAD_START_ROUTINE routine, int count) {
    static HANDLE threads[MANY];

    ResetEvent(begin);
    for (int i = 0; i < count; ++i) {
        threads[i] = CreateThread(NULL, 0, routine, NULL, 0, NULL);
        check("a thread", threads[i] != NULL);
    }
    SetEvent(begin);
    for (int i = 0; i < count; ++i) {
        check_number("end of a thread", WAIT_OBJECT_0, WaitForSingleObject(threads[i], PATIENCE));
        CloseHandle(threads[i]);
    }
}

static void capture_on_threads(int count) {
    captures = 0;
    run_threads(capture_and_end, count);
    check_number("captures", count, captures);
    check_no_failure("on threads that end");
}

static void fail_on_threads(int count) {
    refusals = 0;
    run_threads(fail_and_end, count);
    check_number("failures", count, refusals);
    check_failure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL");
}

static void capture_on_pool(int count) {
    captures = 0;
    pool_left = count;
    ResetEvent(pool_done);
    for (int i = 0; i < count; ++i) {
        check("work for the pool", QueueUserWorkItem(capture_in_pool, NULL, WT_EXECUTEDEFAULT));
    }
    check_number("end of the pool's work", WAIT_OBJECT_0, WaitForSingleObject(pool_done, PATIENCE));
    check_number("captures in the pool", count, captures);
    check_no_failure("on threads of a pool");
}

/* A poll that waits for a customer who never comes, ended from another thread. */
static void abort_poll(void) {
    char typed[PINPAD_CLEAR_DATA_SIZE];
    char notification[PINPAD_NOTIFICATION_SIZE];

    abecsGetClearData(1, 5, 11, 30);
    check_no_failure("the capture begins");
    HANDLE other = CreateThread(NULL, 0, abort_and_end, NULL, 0, NULL);
    abecsGetClearDataResponse(typed, notification);
    check_number("end of the abort", WAIT_OBJECT_0, WaitForSingleObject(other, PATIENCE));
    CloseHandle(other);
    /* Either call may have got the EOT. The second abort has the line to itself. */
    check_forget_failure();
    PP_Abort();
    check_no_failure("the command is over");
}

static void check_threads_without_session(void) {
    fail_on_threads(1);
    fail_on_threads(20);
    fail_on_threads(MANY);
    resources_check_flat("failures on 200 threads", fail_on_threads, MANY);
}

static void check_threads_with_session(const char *port) {
    check_number("open", PINPAD_OK, PP_Open(port, 0));
    for (int round = 0; round < 3; ++round) {
        abort_poll();
    }
    capture_on_threads(1);
    capture_on_threads(20);
    capture_on_pool(20);
    capture_on_threads(MANY);
    resources_check_flat("captures on 200 threads", capture_on_threads, MANY);
    check_number("close", PINPAD_OK, PP_Close(NULL));
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    InitializeCriticalSection(&one_at_a_time);
    begin = CreateEventA(NULL, TRUE, FALSE, NULL);
    pool_done = CreateEventA(NULL, TRUE, FALSE, NULL);
    pcl_exception_set_uncaught_handler(check_on_failure);
    check_threads_without_session();
    check_threads_with_session(argv[1]);
    /* Threads that have called the library still live when the process ends. */
    return check_end();
}
