/* A failure of each kind that needs no device, then a secure session on the given port.
 * usage: windows_host PORT */
#include "tests/windows/check.h"

#include <stdio.h>

enum { PROMPT = 3, MAX_POLLS = 30 };

static void refuse(const char *port, const char *message) {
    check_number(message, PINPAD_FAILED, PP_Open(port, 0));
    check_failure(PINPAD_ERROR_FILE_NOT_FOUND, message);
}

static void check_refusals(void) {
    check_number("close without a session", PINPAD_FAILED, PP_Close("BYE"));
    check_failure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] 'pinpad' is NULL");
    refuse("COM77", "[PCL_RESULT_FILE_NOT_FOUND] No such port: COM77");
}

static void check_session(const char *port) {
    char typed[PINPAD_CLEAR_DATA_SIZE] = "";
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t result = PINPAD_NO_ANSWER;

    check_number("secure open", PINPAD_OK, PP_Open(port, 1));
    abecsGetClearData(PROMPT, 5, 11, 30);
    for (int poll = 0;
         poll < MAX_POLLS && (result == PINPAD_NO_ANSWER || result == PINPAD_NOTIFICATION);
         ++poll) {
        result = abecsGetClearDataResponse(typed, notification);
    }
    check_number("capture", PINPAD_OK, result);
    check_text("the typed number", "12345678", typed);
    check_number("close", PINPAD_OK, PP_Close("THANK YOU"));
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    pcl_exception_set_uncaught_handler(check_on_failure);
    check_refusals();
    check_session(argv[1]);
    return check_end();
}
