/* A host that lets the customer type time and again, and tells when each answer reached it.
 * usage: key_latency PORT COUNT        prints one time a line, in milliseconds since the epoch */
#define _POSIX_C_SOURCE 200809L

#include "pinpad/pinpad.h"

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

enum { PROMPT = 3, PATIENCE_SECONDS = 30 };

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    fprintf(stderr, "failure %d: %s\n", (int)code, message == NULL ? "" : message);
}

static double now_milliseconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return (double)now.tv_sec * 1e3 + (double)now.tv_nsec / 1e6;
}

static int32_t capture(void) {
    char number[PINPAD_CLEAR_DATA_SIZE];
    char notification[PINPAD_NOTIFICATION_SIZE];
    int32_t result = 0;
    abecsGetClearData(PROMPT, 1, 4, PATIENCE_SECONDS);
    do
        result = abecsGetClearDataResponse(number, notification);
    while (result == PINPAD_NO_ANSWER);
    return result;
}

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: %s PORT COUNT\n", argv[0]);
        return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, 0);
    pcl_exception_set_uncaught_handler(on_failure);
    if (PP_Open(argv[1], 0) != PINPAD_OK)
        return EXIT_FAILURE;
    for (long left = strtol(argv[2], NULL, 10); left > 0; --left) {
        if (capture() != PINPAD_OK)
            return EXIT_FAILURE;
        printf("%.3f\n", now_milliseconds());
    }
    return PP_Close("") == PINPAD_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
