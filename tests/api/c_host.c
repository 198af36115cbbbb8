/* A host in plain C that links the library: c_host PORT runs a session in which the customer types
 * 20261 after a notification. */
#include <pinpad/pinpad.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures;
static int32_t last_code;
static char last_message[256];

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    ++failures;
    last_code = code;
    snprintf(last_message, sizeof last_message, "%s", message == NULL ? "(null)" : message);
}

static void require(int condition, const char *what) {
    if (!condition) {
        fprintf(stderr, "not so: %s (last failure %d: %s)\n", what, (int)last_code, last_message);
        exit(1);
    }
}

static void require_failure(int32_t code, const char *message) {
    require(failures == 1, "one failure was handed to the handler");
    require(last_code == code, "the failure has the right code");
    require(strcmp(last_message, message) == 0, message);
    failures = 0;
}

static void capture(void) {
    char digits[PINPAD_CLEAR_DATA_SIZE];
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t status = PINPAD_NO_ANSWER;
    int notifications = 0;

    abecsGetClearData(7, 4, 8, 30);
    while (status == PINPAD_NO_ANSWER || status == PINPAD_NOTIFICATION) {
        status = abecsGetClearDataResponse(digits, notification);
        if (status == PINPAD_NOTIFICATION) {
            ++notifications;
            require(strcmp(notification, "TYPE ON") == 0, "the notification's text");
        }
    }
    require(status == PINPAD_OK, "the capture ends well");
    require(notifications == 1, "one notification");
    require(strcmp(digits, "20261") == 0, "the digits");
}

static int session(const char *port) {
    char digits[PINPAD_CLEAR_DATA_SIZE];

    pcl_exception_set_uncaught_handler(on_failure);
    require(PP_Open("no-such-port", 0) == PINPAD_FAILED, "an open that fails");
    require_failure(PINPAD_ERROR_FILE_NOT_FOUND,
                    "[PCL_RESULT_FILE_NOT_FOUND] No such port: no-such-port");
    require(PP_Open(port, 1) == PINPAD_OK, "a secure open");
    require(abecsGetClearDataResponse(digits, NULL) == PINPAD_FAILED, "a poll without a start");
    require_failure(PINPAD_ERROR_ILLEGAL_STATE, "[PCL_RESULT_ILLEGAL_STATE] GCD was not sent yet");
    capture();
    PP_Abort();
    require(PP_CloseExtended("SEE\rYOU", NULL) == PINPAD_OK, "an extended close");
    require(PP_Open(port, 0) == PINPAD_OK, "an open in clear");
    require(PP_Close("GOOD BYE") == PINPAD_OK, "a close");
    require(failures == 0, "no other failure");
    PP_Abort();
    require_failure(PINPAD_ERROR_ILLEGAL_ARGUMENT, "[PCL_RESULT_ILLEGAL_ARGUMENT] pinpad is NULL");
    return 0;
}

int main(int count, char **words) {
    if (count != 2) {
        fprintf(stderr, "usage: %s PORT\n", words[0]);
        return 2;
    }
    return session(words[1]);
}
