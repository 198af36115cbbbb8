/* What the Windows hosts of the tests share: cases that are counted, and the last failure that the
 * library told of. */
#ifndef PINPAD_TESTS_WINDOWS_CHECK_H
#define PINPAD_TESTS_WINDOWS_CHECK_H

#include "pinpad/pinpad.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One case; prints it when it is not as expected. */
void check(const char *what, int right);
void check_number(const char *what, int64_t expected, int64_t actual);
void check_text(const char *what, const char *expected, const char *actual);

/* The handler to install: it keeps the last failure. */
void PINPAD_CALL check_on_failure(int32_t code, const char *message);
void check_forget_failure(void);
int32_t check_failure_code(void);
const char *check_failure_message(void);
/* The last failure was this one, with the whole message; it is forgotten then. */
void check_failure(int32_t code, const char *message);
/* There was none. */
void check_no_failure(const char *what);

/* Prints how many cases there were; the status to exit with. */
int check_end(void);

#ifdef __cplusplus
}
#endif

#endif
