/* A till in C: takes a loyalty number, shows a QR code to pay with, asks how it was, closes.
 * A failure is recorded by the handler, which returns; every call looks at the record.
 * usage: till_c PORT */
#include "pinpad/pinpad.h"

#include <stdbool.h>
#include <stdio.h>

enum { PROMPT_LOYALTY_NUMBER = 3, PATIENCE_SECONDS = 30, MAX_POLLS = 30 };

static bool failed;

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    failed = true;
    printf("failure %d: %s\n", (int)code, message == NULL ? "" : message);
}

/* Whether the PIN pad said yes. A function without a result passes PINPAD_OK. */
static bool succeeded(const char *what, int32_t result) {
    if (!failed && result == PINPAD_OK) {
        return true;
    }
    printf("%s did not succeed\n", what);
    return false;
}

static bool take_loyalty_number(void) {
    abecsGetClearData(PROMPT_LOYALTY_NUMBER, 5, 11, PATIENCE_SECONDS);
    if (!succeeded("abecsGetClearData", PINPAD_OK)) {
        return false;
    }
    char number[PINPAD_CLEAR_DATA_SIZE];
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t result = PINPAD_NO_ANSWER;
    for (int poll = 0; poll < MAX_POLLS; ++poll) {
        result = abecsGetClearDataResponse(number, notification);
        if (result == PINPAD_NOTIFICATION) {
            printf("the PIN pad says: %s\n", notification);
        } else if (result != PINPAD_NO_ANSWER) {
            break;
        }
    }
    if (!succeeded("abecsGetClearDataResponse", result)) {
        return false;
    }
    printf("loyalty number: %s\n", number);
    return true;
}

static bool show_qr_code(void) {
    taviskQRCode(PATIENCE_SECONDS, '1', "PAY HERE", "https://example.com/pay/42");
    if (!succeeded("taviskQRCode", PINPAD_OK)) {
        return false;
    }
    uint8_t outcome = 0;
    int32_t result = PINPAD_NO_ANSWER;
    for (int poll = 0; poll < MAX_POLLS && result == PINPAD_NO_ANSWER; ++poll) {
        result = taviskQRCode_response(&outcome);
    }
    if (!succeeded("taviskQRCode_response", result)) {
        return false;
    }
    printf("QR code: %c\n", outcome);
    return true;
}

static bool run_survey(void) {
    taviskSURVEY_Start(1, PATIENCE_SECONDS, 12, 0, "HOW WAS IT?", 0, "1 TO 9");
    if (!succeeded("taviskSURVEY_Start", PINPAD_OK)) {
        return false;
    }
    char answer[PINPAD_SURVEY_ANSWER_SIZE];
    int32_t result = PINPAD_NO_ANSWER;
    for (int poll = 0; poll < MAX_POLLS && result == PINPAD_NO_ANSWER; ++poll) {
        result = taviskSURVEY_Get(answer);
    }
    if (!succeeded("taviskSURVEY_Get", result)) {
        return false;
    }
    printf("survey: %s\n", answer);
    return true;
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    pcl_exception_set_uncaught_handler(on_failure);

    const bool done = succeeded("PP_Open", PP_Open(argv[1], 1)) && take_loyalty_number() &&
                      show_qr_code() && run_survey() && succeeded("PP_Close", PP_Close("SEE YOU"));
    if (done) {
        puts("closed");
    }
    return done ? 0 : 1;
}
