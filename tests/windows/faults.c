/* A host whose line suffers the faults of faults.scn, one capture after the other.
 * usage: windows_faults PORT */
#include "tests/windows/check.h"

#include <stdio.h>
#include <string.h>

#include <windows.h>

static void start(void) {
    check_forget_failure();
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
    pcl_exception_set_uncaught_handler(check_on_failure);
    check_number("open", PINPAD_OK, PP_Open(argv[1], 0));

    start();
    check_no_failure("a command refused twice is sent again");
    check_number("a damaged answer is asked for again", PINPAD_OK, poll(typed));
    check_text("the answer", "12345678", typed);

    start();
    check_failure(PINPAD_ERROR_PROTOCOL, "[PCL_RESULT_PROTOCOL_ERROR] Protocol error (unknown "
                                         "packet response: 0x41)");

    start();
    const DWORD begin = GetTickCount();
    check_number("no answer yet", PINPAD_NO_ANSWER, poll(typed));
    const DWORD waited = GetTickCount() - begin;
    check_no_failure("silence is no failure");
    printf("  waited %lu ms\n", (unsigned long)waited);
    check("after two seconds", waited >= 1900 && waited < 4000);
    PP_Abort();
    check_no_failure("abort");

    start();
    const int32_t cut = poll(typed);
    check("a cable that is pulled ends the poll", cut == PINPAD_NO_ANSWER || cut == PINPAD_FAILED);
    check("with an error of the port, if any",
          cut == PINPAD_NO_ANSWER || check_failure_code() == PINPAD_ERROR_IO);
    printf("  %s\n", check_failure_message());
    PP_Close(NULL);
    return check_end();
}
