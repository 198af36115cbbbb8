/* The public header is plain C11, and its widths are what hosts declare. */
#include <pinpad/pinpad.h>

#include <stdio.h>
#include <string.h>

_Static_assert(sizeof(PinpadUncaughtHandler) == sizeof(void (*)(void)), "handler is a pointer");
_Static_assert(_Generic(&PP_Open, int32_t (*)(const char *, uint8_t) : 1, default : 0), "PP_Open");
_Static_assert(_Generic(&PP_Close, int32_t (*)(const char *) : 1, default : 0), "PP_Close");
_Static_assert(_Generic(&PP_CloseExtended, int32_t (*)(const char *, const char *) : 1,
                        default : 0),
               "PP_CloseExtended");
_Static_assert(_Generic(&PP_Abort, void (*)(void) : 1, default : 0), "PP_Abort");
_Static_assert(_Generic(&abecsGetClearData, void (*)(uint16_t, uint8_t, uint8_t, uint8_t) : 1,
                        default : 0),
               "abecsGetClearData");
_Static_assert(_Generic(&abecsGetClearDataResponse, int32_t (*)(char *, char *) : 1, default : 0),
               "abecsGetClearDataResponse");
_Static_assert(_Generic(&taviskMF_Activate, int32_t (*)(char *, char *) : 1, default : 0),
               "taviskMF_Activate");
_Static_assert(_Generic(&taviskMF_Authenticate,
                        int32_t (*)(uint16_t, char, const char *, const char *, char *) : 1,
                        default : 0),
               "taviskMF_Authenticate");
_Static_assert(_Generic(&taviskMF_ReadWrite,
                        int32_t (*)(char, uint16_t, uint8_t, uint32_t *, char *, char *) : 1,
                        default : 0),
               "taviskMF_ReadWrite");
_Static_assert(_Generic(&taviskMF_ValueCommand,
                        int32_t (*)(uint16_t, uint16_t, char, int32_t, int32_t *, char *) : 1,
                        default : 0),
               "taviskMF_ValueCommand");
_Static_assert(_Generic(&taviskQRCode, void (*)(uint64_t, char, const char *, const char *) : 1,
                        default : 0),
               "taviskQRCode");
_Static_assert(_Generic(&taviskSURVEY_Start,
                        void (*)(uint32_t, uint16_t, uint8_t, uint8_t, const char *, uint8_t,
                                 const char *) : 1,
                        default : 0),
               "taviskSURVEY_Start");

static int32_t seen_code;
static char seen_message[256];

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    seen_code = code;
    snprintf(seen_message, sizeof seen_message, "%s", message);
}

int main(void) {
    pcl_exception_set_uncaught_handler(on_failure);
    if (PP_Open("no-such-port", 0) != PINPAD_FAILED) {
        fputs("PP_Open did not fail\n", stderr);
        return 1;
    }
    if (seen_code != PINPAD_ERROR_FILE_NOT_FOUND ||
        strcmp(seen_message, "[PCL_RESULT_FILE_NOT_FOUND] No such port: no-such-port") != 0) {
        fprintf(stderr, "unexpected failure %d: %s\n", (int)seen_code, seen_message);
        return 1;
    }
    return 0;
}
