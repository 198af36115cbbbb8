#include "tests/windows/check.h"

#include <stdio.h>
#include <string.h>

#include <windows.h>

static LONG cases;
static LONG mistakes;
static int32_t failure_code;
static char failure_message[256];

void PINPAD_CALL check_on_failure(int32_t code, const char *message) {
    failure_code = code;
    snprintf(failure_message, sizeof failure_message, "%s", message == NULL ? "" : message);
}

static void mistake(void) {
    InterlockedIncrement(&mistakes);
    if (failure_code != 0) {
        printf("  the last failure: %d %s\n", (int)failure_code, failure_message);
    }
    fflush(stdout);
}

void check(const char *what, int right) {
    InterlockedIncrement(&cases);
    if (!right) {
        printf("%s: NOT AS EXPECTED\n", what);
        mistake();
    }
}

void check_number(const char *what, int64_t expected, int64_t actual) {
    InterlockedIncrement(&cases);
    if (expected != actual) {
        printf("%s: %ld instead of %ld\n", what, (long)actual, (long)expected);
        mistake();
    }
}

void check_text(const char *what, const char *expected, const char *actual) {
    InterlockedIncrement(&cases);
    if (strcmp(expected, actual) != 0) {
        printf("%s: \"%s\" instead of \"%s\"\n", what, actual, expected);
        mistake();
    }
}

void check_forget_failure(void) {
    failure_code = 0;
    failure_message[0] = '\0';
}

int32_t check_failure_code(void) {
    return failure_code;
}

const char *check_failure_message(void) {
    return failure_message;
}

void check_failure(int32_t code, const char *message) {
    check_number(message, code, failure_code);
    check_text("its message", message, failure_message);
    check_forget_failure();
}

void check_no_failure(const char *what) {
    check(what, failure_code == 0);
    check_forget_failure();
}

int check_end(void) {
    if (mistakes != 0) {
        printf("%ld cases, %ld not as expected\n", cases, mistakes);
        return 1;
    }
    printf("%ld cases, all as expected\n", cases);
    return 0;
}
