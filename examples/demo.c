/* A small till: opens the PIN pad on a secure channel, takes a loyalty number, says good-bye.
 * usage: demo PORT */
#include "pinpad/pinpad.h"

#include <stdio.h>
#include <stdlib.h>

enum { PROMPT_LOYALTY_NUMBER = 3, PATIENCE_SECONDS = 30, MAX_POLLS = 30 };

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    printf("failure %d: %s\n", (int)code, message == NULL ? "" : message);
}

/* Gives the result back when the PIN pad said yes, and ends the program otherwise. */
static void require_ok(const char *what, int32_t result) {
    if (result != PINPAD_OK) {
        printf("%s did not succeed (result %d)\n", what, (int)result);
        exit(EXIT_FAILURE);
    }
    printf("%s: done\n", what);
}

static int32_t capture(char *number) {
    char notification[PINPAD_NOTIFICATION_SIZE];
    for (int poll = 0; poll < MAX_POLLS; ++poll) {
        const int32_t result = abecsGetClearDataResponse(number, notification);
        if (result == PINPAD_NOTIFICATION) {
            printf("the PIN pad notifies: \"%s\"\n", notification);
        } else if (result == PINPAD_NO_ANSWER) {
            printf("still typing ...\n");
        } else {
            return result;
        }
    }
    PP_Abort();
    return PINPAD_NO_ANSWER;
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PORT\n", argv[0]);
        return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    pcl_exception_set_uncaught_handler(on_failure);

    printf("opening the PIN pad on a secure channel\n");
    require_ok("PP_Open", PP_Open(argv[1], 1));

    printf("asking for a loyalty number of 5 to 11 digits\n");
    abecsGetClearData(PROMPT_LOYALTY_NUMBER, 5, 11, PATIENCE_SECONDS);
    char number[PINPAD_CLEAR_DATA_SIZE];
    require_ok("abecsGetClearDataResponse", capture(number));
    printf("the customer typed: %s\n", number);

    require_ok("PP_Close", PP_Close("   THANK YOU        SEE YOU    "));
    return EXIT_SUCCESS;
}
