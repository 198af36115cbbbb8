/* A host whose line suffers the faults of faults.scn, one capture after the other.
 * usage: windows_faults PORT */
#include "pinpad/pinpad.h"

#include <stdio.h>
#include <string.h>

#include <windows.h>

static int32_t failure_code;
static char failure_message[256];
static int mistakes;

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    failure_code = code;
    snprintf(failure_message, sizeof failure_message, "%s", message == NULL ? "" : message);
}

static void expect(const char *what, int right) {
    printf("%s: %s\n", what, right ? "as expected" : "NOT AS EXPECTED");
    if (!right) {
        printf("  the last failure: %d %s\n", (int)failure_code, failure_message);
        ++mistakes;
    }
}

static void start(void) {
    failure_code = 0;
    failure_message[0] = '\0';
    abecsGetClearData(1, 5, 11, 30);
}

static int32_t poll(char *typed) {
    char notification[PINPAD_NOTIFICATION_SIZE];
    typed[0] = '\0';
    return abecsGetClearDataResponse(typed, notification);
}

int main(int argc, char **argv) {
    char typed[PINPAD_CLEAR_DATA_SIZE];
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    pcl_exception_set_uncaught_handler(on_failure);
    expect("open", PP_Open(argv[1], 0) == PINPAD_OK);

    start();
    expect("a command refused twice is sent again", failure_code == 0);
    expect("a damaged answer is asked for again",
           poll(typed) == PINPAD_OK && strcmp(typed, "12345678") == 0);

    start();
    expect("another byte in the place of ACK",
           failure_code == PINPAD_ERROR_PROTOCOL &&
               strcmp(failure_message, "[PCL_RESULT_PROTOCOL_ERROR] Protocol error (unknown packet "
                                       "response: 0x41)") == 0);

    start();
    const DWORD begin = GetTickCount();
    const int32_t silent = poll(typed);
    const DWORD waited = GetTickCount() - begin;
    expect("no answer yet", silent == PINPAD_NO_ANSWER && failure_code == 0);
    printf("  waited %lu ms\n", (unsigned long)waited);
    expect("after two seconds", waited >= 1900 && waited < 4000);
    PP_Abort();
    expect("abort", failure_code == 0);

    start();
    const int32_t cut = poll(typed);
    expect("a cable that is pulled ends the poll", cut == PINPAD_NO_ANSWER || cut == PINPAD_FAILED);
    expect("with an error of the port, if any",
           cut == PINPAD_NO_ANSWER || failure_code == PINPAD_ERROR_IO);
    printf("  %s\n", failure_message);
    PP_Close(NULL);

    printf(mistakes == 0 ? "all as expected\n" : "not as expected\n");
    return mistakes == 0 ? 0 : 1;
}
