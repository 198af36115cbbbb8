/* A host linked against the import library: a failure of each kind that needs no device, calls
 * on threads that end, then a secure session on the given port. usage: windows_host PORT */
#include "pinpad/pinpad.h"

#include <stdio.h>
#include <string.h>
#include <windows.h>

enum { PROMPT = 3, MAX_POLLS = 30, THREADS = 100 };

static int32_t failure_code;
static char failure_message[256];
static int mistakes;

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    failure_code = code;
    snprintf(failure_message, sizeof failure_message, "%s", message == NULL ? "" : message);
}

static void expect_number(const char *what, int32_t expected, int32_t actual) {
    if (expected != actual) {
        printf("%s: %d instead of %d (%s)\n", what, (int)actual, (int)expected, failure_message);
        ++mistakes;
    }
}

static void expect_text(const char *what, const char *expected, const char *actual) {
    if (strcmp(expected, actual) != 0) {
        printf("%s: \"%s\" instead of \"%s\"\n", what, actual, expected);
        ++mistakes;
    }
}

static void check_failures(void) {
    expect_number("close without a session", PINPAD_FAILED, PP_Close("BYE"));
    expect_number("its code", PINPAD_ERROR_ILLEGAL_ARGUMENT, failure_code);
    expect_text("its message", "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL", failure_message);

    expect_number("open of a missing port", PINPAD_FAILED, PP_Open("COM77", 0));
    expect_number("its code", PINPAD_ERROR_FILE_NOT_FOUND, failure_code);
    expect_text("its message", "[PCL_RESULT_FILE_NOT_FOUND] No such port: COM77", failure_message);
}

static DWORD WINAPI call_and_end(void *unused) {
    (void)unused;
    return (DWORD)PP_Close("BYE");
}

/* What the library keeps for a thread goes with it, and keeps neither it nor the process. */
static void check_threads(void) {
    for (int i = 0; i < THREADS; ++i) {
        DWORD result = 0;
        HANDLE thread = CreateThread(NULL, 0, call_and_end, NULL, 0, NULL);
        expect_number("end of a thread", WAIT_OBJECT_0,
                      (int32_t)WaitForSingleObject(thread, 10000));
        GetExitCodeThread(thread, &result);
        expect_number("close on a thread", PINPAD_FAILED, (int32_t)result);
        CloseHandle(thread);
    }
}

static void check_session(const char *port) {
    char typed[PINPAD_CLEAR_DATA_SIZE] = "";
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t result = PINPAD_NO_ANSWER;

    expect_number("secure open", PINPAD_OK, PP_Open(port, 1));
    abecsGetClearData(PROMPT, 5, 11, 30);
    for (int poll = 0;
         poll < MAX_POLLS && (result == PINPAD_NO_ANSWER || result == PINPAD_NOTIFICATION);
         ++poll) {
        result = abecsGetClearDataResponse(typed, notification);
    }
    expect_number("capture", PINPAD_OK, result);
    expect_text("the typed number", "12345678", typed);
    expect_number("close", PINPAD_OK, PP_Close("THANK YOU"));
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    pcl_exception_set_uncaught_handler(on_failure);
    check_failures();
    check_threads();
    check_session(argv[1]);
    printf(mistakes == 0 ? "all as expected\n" : "not as expected\n");
    return mistakes == 0 ? 0 : 1;
}
