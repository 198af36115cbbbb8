/* The public header is plain C11 and needs no other before it; its widths are what hosts declare.
 */
#include <pinpad/pinpad.h>

_Static_assert(_Generic((PinpadUncaughtHandler)0, void (*)(int32_t, const char *) : 1, default : 0),
               "PinpadUncaughtHandler");
_Static_assert(_Generic(&pcl_exception_set_uncaught_handler,
                        void (*)(void (*)(int32_t, const char *)) : 1, default : 0),
               "pcl_exception_set_uncaught_handler");
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
_Static_assert(_Generic(&taviskMF_BlockConfigGet, int32_t (*)(uint16_t, char *, char *) : 1,
                        default : 0),
               "taviskMF_BlockConfigGet");
_Static_assert(_Generic(&taviskMF_BlockConfigSet,
                        int32_t (*)(uint16_t, const char *, const char *, const char *, char *) : 1,
                        default : 0),
               "taviskMF_BlockConfigSet");
_Static_assert(_Generic(&taviskMF_KeyChange,
                        int32_t (*)(uint16_t, const char *, const char *, char *) : 1, default : 0),
               "taviskMF_KeyChange");
_Static_assert(_Generic(&taviskQRCode, void (*)(uint64_t, char, const char *, const char *) : 1,
                        default : 0),
               "taviskQRCode");
_Static_assert(_Generic(&taviskSURVEY_Start,
                        void (*)(uint32_t, uint16_t, uint8_t, uint8_t, const char *, uint8_t,
                                 const char *) : 1,
                        default : 0),
               "taviskSURVEY_Start");
_Static_assert(_Generic(&taviskQRCode_response, int32_t (*)(uint8_t *) : 1, default : 0),
               "taviskQRCode_response");
_Static_assert(_Generic(&taviskSURVEY_Get, int32_t (*)(char *) : 1, default : 0),
               "taviskSURVEY_Get");
_Static_assert(_Generic(&taviskSURVEY_Stop, int32_t (*)(void) : 1, default : 0),
               "taviskSURVEY_Stop");
_Static_assert(_Generic(&taviskCXSurveys_Start,
                        void (*)(char, char, char, const char *, const char *, const char *,
                                 const char *, const char *, const char *, const char *) : 1,
                        default : 0),
               "taviskCXSurveys_Start");
_Static_assert(_Generic(&taviskCXSurveys_Get, int32_t (*)(char *) : 1, default : 0),
               "taviskCXSurveys_Get");
_Static_assert(_Generic(&taviskCXSurveys_Stop, int32_t (*)(void) : 1, default : 0),
               "taviskCXSurveys_Stop");

_Static_assert(PINPAD_OK == 0 && PINPAD_NO_ANSWER == -1 && PINPAD_NOTIFICATION == -2 &&
                   PINPAD_FAILED == -3,
               "results");
_Static_assert(PINPAD_STATUS_INVCALL == 10 && PINPAD_STATUS_INVPARM == 11 &&
                   PINPAD_STATUS_TIMEOUT == 12 && PINPAD_STATUS_CANCEL == 13,
               "statuses");
_Static_assert(PINPAD_ERROR_RUNTIME == 1 && PINPAD_ERROR_ILLEGAL_ARGUMENT == 2 &&
                   PINPAD_ERROR_ILLEGAL_STATE == 3 && PINPAD_ERROR_INDEX_OUT_OF_BOUNDS == 4 &&
                   PINPAD_ERROR_MALLOC == 5 && PINPAD_ERROR_IO == 6 && PINPAD_ERROR_TIMEOUT == 7 &&
                   PINPAD_ERROR_FILE_NOT_FOUND == 8 && PINPAD_ERROR_ENCODING == 9 &&
                   PINPAD_ERROR_DEVICE_BUSY == 10 && PINPAD_ERROR_PERMISSION_DENIED == 11 &&
                   PINPAD_ERROR_PROTOCOL == 12 && PINPAD_ERROR_CRYPT == 13,
               "codes of failures");
