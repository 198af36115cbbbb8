/* Calls every function of the library once against a PIN pad with a MIFARE card at hand and a
 * customer who answers: see every_export.scn.
 * usage: every_export PORT */
#include "pinpad/pinpad.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { MAX_POLLS = 10 };

static char failure[256];

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    snprintf(failure, sizeof failure, "failure %d: %s", (int)code, message == NULL ? "" : message);
}

_Noreturn static void stop(const char *what, const char *why) {
    fprintf(stderr, "%s: %s\n", what, why);
    exit(EXIT_FAILURE);
}

/* Functions without a result show a failure through the handler only. */
static void require_no_failure(const char *what) {
    if (failure[0] != '\0') {
        stop(what, failure);
    }
    printf("%s\n", what);
}

static void require_ok(const char *what, int32_t result) {
    require_no_failure(what);
    if (result != PINPAD_OK) {
        fprintf(stderr, "%s: result %d\n", what, (int)result);
        exit(EXIT_FAILURE);
    }
}

static void require_status(const char *what, int32_t result, const char *status) {
    require_ok(what, result);
    if (strcmp(status, "00") != 0) {
        stop(what, status);
    }
}

static void require_text(const char *what, const char *expected, const char *text) {
    if (strcmp(expected, text) != 0) {
        stop(what, text);
    }
}

static void capture(void) {
    abecsGetClearData(1, 4, 8, 30);
    require_no_failure("abecsGetClearData");
    char number[PINPAD_CLEAR_DATA_SIZE] = "";
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t result = PINPAD_NO_ANSWER;
    for (int poll = 0;
         poll < MAX_POLLS && (result == PINPAD_NO_ANSWER || result == PINPAD_NOTIFICATION);
         ++poll) {
        result = abecsGetClearDataResponse(number, notification);
    }
    require_ok("abecsGetClearDataResponse", result);
    require_text("the digits", "12345", number);
}

static void abort_capture(void) {
    abecsGetClearData(1, 4, 8, 30);
    require_no_failure("abecsGetClearData");
    PP_Abort();
    require_no_failure("PP_Abort");
}

static void use_card(void) {
    const char *factory_key = "FFFFFFFFFFFF";
    char serial[PINPAD_MF_TEXT_SIZE];
    char data[PINPAD_MF_TEXT_SIZE];
    char flags[PINPAD_MF_TEXT_SIZE];
    char status[PINPAD_MF_STATUS_SIZE];

    require_status("taviskMF_Activate", taviskMF_Activate(serial, status), status);
    require_text("the serial number", "11223344", serial);
    require_status("taviskMF_Authenticate",
                   taviskMF_Authenticate(4, 'A', factory_key, serial, status), status);

    uint32_t length = 16;
    strcpy(data, "000102030405060708090A0B0C0D0E0F");
    require_status("taviskMF_ReadWrite", taviskMF_ReadWrite('W', 4, 0, &length, data, status),
                   status);
    length = 16;
    require_status("taviskMF_ReadWrite", taviskMF_ReadWrite('R', 4, 0, &length, data, status),
                   status);
    require_text("the block", "000102030405060708090A0B0C0D0E0F", data);

    int32_t value = 0;
    require_status("taviskMF_ValueCommand", taviskMF_ValueCommand(5, 5, 'W', 100, &value, status),
                   status);
    require_status("taviskMF_ValueCommand", taviskMF_ValueCommand(5, 5, '-', 30, &value, status),
                   status);
    require_status("taviskMF_ValueCommand", taviskMF_ValueCommand(5, 5, 'R', 0, &value, status),
                   status);
    if (value != 70) {
        stop("the value", "is not 70");
    }

    require_status("taviskMF_BlockConfigGet", taviskMF_BlockConfigGet(4, flags, status), status);
    require_text("the configuration", "000", flags);
    require_status("taviskMF_BlockConfigSet",
                   taviskMF_BlockConfigSet(4, factory_key, factory_key, flags, status), status);
    require_status("taviskMF_KeyChange",
                   taviskMF_KeyChange(4, "A0A1A2A3A4A5", "B0B1B2B3B4B5", status), status);
}

static void show_qr_code(void) {
    taviskQRCode(30, '1', "PAY HERE", "https://example.com/pay/42");
    require_no_failure("taviskQRCode");
    uint8_t outcome = 0;
    int32_t result = PINPAD_NO_ANSWER;
    for (int poll = 0; poll < MAX_POLLS && result == PINPAD_NO_ANSWER; ++poll) {
        result = taviskQRCode_response(&outcome);
    }
    require_ok("taviskQRCode_response", result);
    if (outcome != '0') {
        stop("the QR code", "was not confirmed");
    }
}

typedef int32_t(PINPAD_CALL *GetAnswer)(char *cResp);

static void collect(const char *what, GetAnswer get, const char *expected) {
    char answer[PINPAD_SURVEY_ANSWER_SIZE] = "";
    int32_t result = PINPAD_NO_ANSWER;
    for (int poll = 0; poll < MAX_POLLS && result == PINPAD_NO_ANSWER; ++poll) {
        result = get(answer);
    }
    require_ok(what, result);
    require_text("the answer", expected, answer);
}

static void ask(void) {
    taviskSURVEY_Start(0x0001, 30, 8, 0, "HOW WAS IT?", 0, "1 TO 9");
    require_no_failure("taviskSURVEY_Start");
    collect("taviskSURVEY_Get", taviskSURVEY_Get, "7");

    taviskSURVEY_Start(0x0002, 30, 8, 0, "ANYTHING ELSE?", 0, "1 TO 9");
    require_no_failure("taviskSURVEY_Start");
    require_ok("taviskSURVEY_Stop", taviskSURVEY_Stop());

    taviskCXSurveys_Start('1', '1', '5', "030", "010", "WOULD YOU", " COME", " AGAIN", "?", "");
    require_no_failure("taviskCXSurveys_Start");
    collect("taviskCXSurveys_Get", taviskCXSurveys_Get, "005");

    taviskCXSurveys_Start('1', '1', '5', "030", "010", "SURE?", "", "", "", "");
    require_no_failure("taviskCXSurveys_Start");
    require_ok("taviskCXSurveys_Stop", taviskCXSurveys_Stop());
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    pcl_exception_set_uncaught_handler(on_failure);
    puts("pcl_exception_set_uncaught_handler");

    require_ok("PP_Open", PP_Open(argv[1], 1));
    capture();
    abort_capture();
    use_card();
    show_qr_code();
    ask();
    require_ok("PP_CloseExtended", PP_CloseExtended("BACK IN\rA MINUTE", NULL));

    require_ok("PP_Open", PP_Open(argv[1], 0));
    require_ok("PP_Close", PP_Close("GOOD BYE"));
    puts("every function was called");
    return EXIT_SUCCESS;
}
