/**
 * @file pinpad.h
 * @brief Drives a PIN pad over a serial line.
 *
 * The library keeps one session with one PIN pad at a time: PP_Open creates it, PP_Close or
 * PP_CloseExtended ends it. Commands that wait for the customer come in pairs, one function that
 * starts them and one that polls for the answer.
 *
 * @section failures Failures
 * What the PIN pad refuses comes back as the function's result. What goes wrong otherwise (a wrong
 * argument, a line that is down, a PIN pad that keeps silent or talks nonsense) is a failure: a
 * code and a message, handed to the handler of pcl_exception_set_uncaught_handler. Without a
 * handler the library prints "Uncaught error: CODE (MESSAGE)" to standard output and aborts the
 * process, so a host that wants to live on installs one first. The handler may
 *   - return: a function with an integer result then returns #PINPAD_FAILED, and nothing more is
 *     sent on the line;
 *   - leave by an exception of the host's own or by longjmp: the library holds nothing by then;
 *   - end its thread.
 * The codes are the PINPAD_ERROR_ constants; the message begins with the code's name in brackets.
 *
 * @section threads Threads and signals
 * Call the library from one thread at a time. The exceptions are PP_Abort, which a second thread
 * may call to end a long wait, and pcl_exception_set_uncaught_handler. The handler runs on the
 * thread whose call failed. Signals neither shorten nor lengthen a wait, and the library installs
 * no signal handler; none of its functions may be called from one.
 *
 * @section texts Texts
 * Texts are NUL-terminated. Texts for the display are single bytes 0x20..0xFF as the PIN pad's
 * character set has them, not UTF-8.
 */
#ifndef PINPAD_PINPAD_H
#define PINPAD_PINPAD_H

#include <stdint.h>

#if defined(_WIN32)
#define PINPAD_CALL __stdcall
#if defined(PINPAD_BUILDING)
#define PINPAD_API __declspec(dllexport)
#else
#define PINPAD_API __declspec(dllimport)
#endif
#else
#define PINPAD_CALL
#define PINPAD_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** @name Results
 * Zero is success. A positive result is the status that the PIN pad answered with.
 * @{ */
#define PINPAD_OK 0           /**< Done. */
#define PINPAD_NO_ANSWER (-1) /**< A poll found no answer yet: poll again. */
#define PINPAD_NOTIFICATION                                                                        \
    (-2) /**< A poll found a notification, a text to show while the PIN pad waits: poll again. */
#define PINPAD_FAILED                                                                              \
    (-3) /**< A failure was raised and the handler returned. Do not poll again.                    \
          */

#define PINPAD_STATUS_INVCALL 10 /**< The PIN pad: the command cannot be used now. */
#define PINPAD_STATUS_INVPARM 11 /**< The PIN pad: a parameter is not valid. */
#define PINPAD_STATUS_TIMEOUT 12 /**< The PIN pad: the customer took too long. */
#define PINPAD_STATUS_CANCEL 13  /**< The PIN pad: the customer pressed Cancel. */
/** @} */

/** @name Codes of failures
 * @{ */
#define PINPAD_ERROR_RUNTIME 1             /**< Something that should not happen. */
#define PINPAD_ERROR_ILLEGAL_ARGUMENT 2    /**< The caller's argument; nothing was sent. */
#define PINPAD_ERROR_ILLEGAL_STATE 3       /**< Another command's answer is pending, or none is. */
#define PINPAD_ERROR_INDEX_OUT_OF_BOUNDS 4 /**< Reserved. */
#define PINPAD_ERROR_MALLOC 5              /**< Out of memory. */
#define PINPAD_ERROR_IO 6                  /**< The line failed, or a malformed answer came. */
#define PINPAD_ERROR_TIMEOUT 7             /**< The PIN pad kept silent. */
#define PINPAD_ERROR_FILE_NOT_FOUND 8      /**< There is no such port. */
#define PINPAD_ERROR_ENCODING 9            /**< Reserved. */
#define PINPAD_ERROR_DEVICE_BUSY 10        /**< Something else has the port open. */
#define PINPAD_ERROR_PERMISSION_DENIED 11  /**< Reserved. */
#define PINPAD_ERROR_PROTOCOL 12           /**< An answer that the protocol does not allow. */
#define PINPAD_ERROR_CRYPT 13              /**< The secure channel's cryptography. */
/** @} */

/** Most digits that a capture can ask for. */
#define PINPAD_MAX_DIGITS 32
/** Bytes that a buffer for a notification's text must have. */
#define PINPAD_NOTIFICATION_SIZE 33
/** Bytes that make a buffer for the captured text safe whatever arrives; see
 * abecsGetClearDataResponse(). */
#define PINPAD_CLEAR_DATA_SIZE 1000

/**
 * @brief Receives the failures of the library.
 * @param code    one of the PINPAD_ERROR_ constants
 * @param message text such as "[PCL_RESULT_TIMEOUT_ERROR] Timeout waiting for data", at most 255
 *                characters; may be null; valid until the handler returns
 * @warning The failure about a key of a MIFARE card that has not 12 characters holds the key as it
 * was given, "Invalid size for szKey: KEY (exact: 12)", and so with szKeyA and szKeyB. A host that
 * passes keys must not log it: leave out messages with "Invalid size for szKey".
 */
typedef void(PINPAD_CALL *PinpadUncaughtHandler)(int32_t code, const char *message);

/**
 * @brief Sets the handler that failures go to; null restores the default, which prints the failure
 * and aborts.
 *
 * There is one handler for the process. It may be set from any thread at any time.
 */
PINPAD_API void PINPAD_CALL pcl_exception_set_uncaught_handler(PinpadUncaughtHandler handler);

/**
 * @brief Opens a port and a session with the PIN pad on it.
 *
 * Takes the port for itself at 19200 baud, 8 data bits, no parity, 1 stop bit, ends whatever the
 * PIN pad is doing, and opens the session. Takes half a second at least; a secure open also
 * generates an RSA-2048 key pair, which takes a moment of computing.
 *
 * When no session can be created (the port does not open, nothing answers the first byte), an
 * earlier session goes on and the port that was tried is closed. Once it is created it is the
 * session, whatever the PIN pad makes of being opened; an earlier one on another port ends without
 * its PIN pad being told, and its port is free. If the opening then fails, commands go out on the
 * new session in clear; to open again, call PP_Open again, which drops it first. It also drops a
 * session whose line is gone (cable pulled), so that opening again is all it takes when the cable
 * is back. Any other open of the port in use fails with PINPAD_ERROR_DEVICE_BUSY, also when the
 * PIN pad had refused to be opened with a status.
 *
 * A line on which something talks all the time (a scale, another device on the wrong port) keeps
 * PP_Open waiting for silence. PP_Abort on another thread ends that within a second.
 *
 * @param portName the port: a name such as "ttyUSB0", or a path such as "/dev/ttyUSB0"; on Windows
 *                 a name such as "COM3"
 * @param secure   1 sets up an encrypted channel for all commands that follow; any other value
 *                 does not
 * @return PINPAD_OK or the PIN pad's status; 10 also for a secure open that was answered without a
 *         key. The session exists then too, and PP_Close ends it. PINPAD_FAILED.
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT (null name), PINPAD_ERROR_DEVICE_BUSY "Port is busy: %s",
 * PINPAD_ERROR_FILE_NOT_FOUND "No such port: %s", PINPAD_ERROR_IO "Invalid serial port: %s" and
 * errors of the line, PINPAD_ERROR_ILLEGAL_STATE "Open was aborted" (by PP_Abort),
 * PINPAD_ERROR_TIMEOUT, PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_CRYPT.
 */
PINPAD_API int32_t PINPAD_CALL PP_Open(const char *portName, uint8_t secure);

/**
 * @brief Closes the session and leaves a message on the display.
 *
 * Ends the secure channel, closes the port and wipes the key. When the command fails, the session
 * and the port stay open, though no longer secure once the PIN pad has acknowledged it. When the
 * PIN pad has answered and only the port then fails to be purged or closed (PINPAD_ERROR_IO
 * "PurgeComm() error: %i", "CloseHandle() error: %i"), the session is gone all the same.
 *
 * @param message at most 32 characters 0x20..0xFF; null or "" clears the display
 * @return PINPAD_OK or the PIN pad's status (the session is closed in either case); PINPAD_FAILED
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT (message too long or with a control character, no
 * session), PINPAD_ERROR_ILLEGAL_STATE (a command is pending: poll it to its end or call PP_Abort),
 * PINPAD_ERROR_TIMEOUT, PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO.
 */
PINPAD_API int32_t PINPAD_CALL PP_Close(const char *message);

/**
 * @brief Closes the session and leaves a longer message or a stored image on the display.
 *
 * @param dspMsg at most 128 characters 0x20..0xFF, where 0x0D breaks the line; may be null or ""
 * @param mfName name, at most 8 characters, of a media file in the PIN pad; may be null or ""
 * @return as PP_Close
 *
 * Failures: as PP_Close.
 */
PINPAD_API int32_t PINPAD_CALL PP_CloseExtended(const char *dspMsg, const char *mfName);

/**
 * @brief Ends whatever the PIN pad is doing, and with it a pending command.
 *
 * May be called from a second thread to end a wait of the first one. The PIN pad stops at once, but
 * either call may get its answer. When the abort gets it, the command is over, and the call that
 * was waiting runs into its own timeout. When the waiting call gets it, that call fails, the abort
 * fails with a timeout, and the command is still pending. So, once both calls have returned, call
 * PP_Abort again on the first thread: it then has the line to itself and ends the command for
 * certain. A host without need of an end at once sets a flag instead, looks at it between two polls
 * and calls PP_Abort there. Do not call PP_Open or PP_Close while an abort is running.
 *
 * While PP_Open is creating a session on another thread, PP_Abort ends that instead: PP_Open fails
 * with "Open was aborted" within a second, an earlier session is left alone, and PP_Abort itself
 * fails with nothing.
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT "pinpad is NULL" (no session), PINPAD_ERROR_TIMEOUT (no
 * answer within 2 s), PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO.
 */
PINPAD_API void PINPAD_CALL PP_Abort(void);

/**
 * @brief Asks the PIN pad to let the customer type a number in the clear (never a PIN).
 *
 * Returns as soon as the PIN pad has taken the command. Until abecsGetClearDataResponse() has
 * returned a final answer, or PP_Abort() was called, other commands fail with
 * PINPAD_ERROR_ILLEGAL_STATE.
 *
 * @param promptId       number of the prompt that the PIN pad shows
 * @param minDig         fewest digits, 0..32
 * @param maxDig         most digits, minDig..32
 * @param timeoutSeconds how long the PIN pad waits for the customer, in its own terms; 0 leaves it
 *                       to the PIN pad
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT (digits out of range, no session),
 * PINPAD_ERROR_ILLEGAL_STATE, PINPAD_ERROR_TIMEOUT, PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO.
 */
PINPAD_API void PINPAD_CALL abecsGetClearData(uint16_t promptId, uint8_t minDig, uint8_t maxDig,
                                              uint8_t timeoutSeconds);

/**
 * @brief Polls for the number that the customer types.
 *
 * Waits up to 2 s. Call again as long as it returns PINPAD_NO_ANSWER or PINPAD_NOTIFICATION.
 *
 * @param out          receives the typed text and a NUL when the result is PINPAD_OK. The library
 *                     cannot bound this copy: it is as long as what the PIN pad sends. A
 *                     well-behaved PIN pad sends at most maxDig digits (33 bytes with the NUL);
 *                     PINPAD_CLEAR_DATA_SIZE bytes hold whatever any PIN pad can send.
 * @param notification receives the text of a notification, at most 32 characters and a NUL, when
 *                     the result is PINPAD_NOTIFICATION; null when not wanted
 * @return PINPAD_OK, the PIN pad's status (13 cancelled, 12 too late, ...), PINPAD_NO_ANSWER,
 *         PINPAD_NOTIFICATION or PINPAD_FAILED
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT (null out, no session), PINPAD_ERROR_ILLEGAL_STATE
 * "GCD was not sent yet", PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO. After these two the command is
 * still pending: poll again or call PP_Abort().
 */
PINPAD_API int32_t PINPAD_CALL abecsGetClearDataResponse(char *out, char *notification);

/** @name Buffer sizes of the extension commands
 * What any answer of the framing can bring, with the NUL; well-behaved terminals send less.
 * @{ */
#define PINPAD_MF_STATUS_SIZE 3     /**< For every pbStatus. */
#define PINPAD_MF_TEXT_SIZE 2039    /**< For szSerialNumber, szData and pbConfigFlags as output. */
#define PINPAD_SURVEY_ANSWER_SIZE 4 /**< For cResp of both surveys. */
/** @} */

/** Most characters of line text and QR code text together that fit one command; see
 * taviskQRCode(). */
#define PINPAD_QR_MAX_TEXT 2030

/**
 * @defgroup mifare MIFARE cards
 * Commands for a contactless MIFARE card held at the PIN pad. Each is one complete exchange: it
 * returns when the answer is in.
 *
 * Results: PINPAD_OK when an answer came, and then the terminal's verdict is in `pbStatus`, two
 * characters and a NUL ("00" is success); PINPAD_NO_ANSWER when none came in time, the caller's
 * buffers untouched; PINPAD_FAILED.
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT (each argument is checked before anything is sent),
 * PINPAD_ERROR_ILLEGAL_STATE (a command is pending), PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO.
 *
 * Output texts are copied whole and NUL-terminated: the library does not know the size of the
 * caller's buffers. The sizes named at each function suffice for a well-behaved terminal,
 * PINPAD_MF_TEXT_SIZE for any answer whatever. These commands are never encrypted, not even on a
 * secure session.
 *
 * @warning A key that has not exactly 12 characters is shown in the message of the failure,
 * "Invalid size for szKey: KEY (exact: 12)": such a message must not be logged. Without a handler
 * it is printed to standard output.
 * @{
 */

/**
 * @brief Activates the card and reads its serial number (MF01).
 * @param szSerialNumber receives the serial number as hexadecimal text; "" when there is none
 * @param pbStatus       receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_Activate(char *szSerialNumber, char *pbStatus);

/**
 * @brief Authenticates a block with one of its sector's keys (MF02).
 * @param usBlockAddress block, 0..9999
 * @param cType          'A' or 'B'
 * @param szKey          the key, exactly 12 characters; another length shows it in the failure
 * @param szSerialNumber the serial number from taviskMF_Activate()
 * @param pbStatus       receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_Authenticate(uint16_t usBlockAddress, char cType,
                                                     const char *szKey, const char *szSerialNumber,
                                                     char *pbStatus);

/**
 * @brief Reads or writes a block (MF03).
 * @param cOperation     'R' reads, 'W' writes
 * @param usBlockAddress block, 0..9999
 * @param bBlockByte     first byte within the block, 0..15
 * @param pdwDataLen     at most 256. Reading: how many bytes are wanted, then how many came.
 *                       Writing: checked but not sent, then how many were written
 * @param szData         reading: receives two hexadecimal characters a byte and a NUL (513 bytes
 * for 256 bytes of data); writing: the hexadecimal text to write, and the buffer becomes ""
 * afterwards, so it must be writable
 * @param pbStatus       receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_ReadWrite(char cOperation, uint16_t usBlockAddress,
                                                  uint8_t bBlockByte, uint32_t *pdwDataLen,
                                                  char *szData, char *pbStatus);

/**
 * @brief Works on a value block (MF04).
 * @param usBlockOrigin      block, 0..9999
 * @param usBlockDestination block that takes the result of '+', '-' and '=', 0..9999
 * @param cOperation         'R' reads, 'W' writes, '+' adds, '-' subtracts, '=' copies
 * @param iValue             operand of 'W', '+' and '-', -2147483647..2147483647
 * @param piValueResult      receives the value in the answer, 0 when it holds none
 * @param pbStatus           receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_ValueCommand(uint16_t usBlockOrigin,
                                                     uint16_t usBlockDestination, char cOperation,
                                                     int32_t iValue, int32_t *piValueResult,
                                                     char *pbStatus);

/**
 * @brief Reads the configuration of a block (MF05).
 * @param usBlockAddress block, 0..9999
 * @param pbConfigFlags  receives three characters '0' or '1' and a NUL; "" when there are none
 * @param pbStatus       receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_BlockConfigGet(uint16_t usBlockAddress, char *pbConfigFlags,
                                                       char *pbStatus);

/**
 * @brief Sets the configuration of a block (MF05).
 * @param usBlockAddress block, 0..9999
 * @param szKeyA         key A of the sector, exactly 12 characters; another length shows it in the
 *                       failure
 * @param szKeyB         key B of the sector, likewise
 * @param pbConfigFlags  exactly three characters '0' or '1'
 * @param pbStatus       receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_BlockConfigSet(uint16_t usBlockAddress, const char *szKeyA,
                                                       const char *szKeyB,
                                                       const char *pbConfigFlags, char *pbStatus);

/**
 * @brief Changes both keys of a sector (MF06).
 * @param usBlockAddress block, 0..9999
 * @param szKeyA         new key A, exactly 12 characters; another length shows it in the failure
 * @param szKeyB         new key B, likewise
 * @param pbStatus       receives the status, 3 bytes
 */
PINPAD_API int32_t PINPAD_CALL taviskMF_KeyChange(uint16_t usBlockAddress, const char *szKeyA,
                                                  const char *szKeyB, char *pbStatus);
/** @} */

/**
 * @brief Shows a QR code with a line of text (QR01) and returns; poll with
 * taviskQRCode_response().
 *
 * Until the answer has been polled, or PP_Abort() was called, other commands fail with
 * PINPAD_ERROR_ILLEGAL_STATE.
 *
 * @param usTimeout  how long the terminal waits, 0..999, in its own terms; 64 bits wide
 * @param bLineType  '0', '1' or '2'
 * @param line       text of at most 20 characters 0x20..0xFF; null is ""
 * @param qrCode     what the code says, characters 0x20..0xFF; null is "". It must fit one command
 *                   together with the line: at most PINPAD_QR_MAX_TEXT characters for both, or the
 *                   call fails with PINPAD_ERROR_IO and sends nothing
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT, PINPAD_ERROR_ILLEGAL_STATE, PINPAD_ERROR_TIMEOUT,
 * PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO.
 */
PINPAD_API void PINPAD_CALL taviskQRCode(uint64_t usTimeout, char bLineType, const char *line,
                                         const char *qrCode);

/**
 * @brief Polls for the outcome of taviskQRCode(); waits up to 1.5 s.
 * @param result receives the terminal's result byte as it is
 * @return PINPAD_OK, PINPAD_NO_ANSWER (poll again) or PINPAD_FAILED
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT, PINPAD_ERROR_ILLEGAL_STATE "QR01 was not sent yet",
 * PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO; the command stays pending after the last two.
 */
PINPAD_API int32_t PINPAD_CALL taviskQRCode_response(uint8_t *result);

/**
 * @brief Shows a survey screen with a top and a bottom area (EX08) and returns; poll with
 * taviskSURVEY_Get().
 *
 * @param usCode             code of the survey; its low 16 bits are used
 * @param usTimeout          how long the terminal waits, 0..999, in its own terms
 * @param bScreenStyle       4, 8 or 12
 * @param bDisplayTopType    0, 1 or 2
 * @param sDisplayTopData    at most 999 characters 0x20..0xFF
 * @param bDisplayBottomType 0, 1 or 2
 * @param sDisplayBottomData at most 999 characters 0x20..0xFF
 *
 * Failures: as taviskQRCode().
 */
PINPAD_API void PINPAD_CALL taviskSURVEY_Start(uint32_t usCode, uint16_t usTimeout,
                                               uint8_t bScreenStyle, uint8_t bDisplayTopType,
                                               const char *sDisplayTopData,
                                               uint8_t bDisplayBottomType,
                                               const char *sDisplayBottomData);

/**
 * @brief Polls for the answer to taviskSURVEY_Start(); waits up to 1.5 s.
 * @param cResp receives one character and a NUL, 2 bytes
 * @return PINPAD_OK, PINPAD_NO_ANSWER (poll again) or PINPAD_FAILED
 *
 * Failures: PINPAD_ERROR_ILLEGAL_ARGUMENT, PINPAD_ERROR_ILLEGAL_STATE "EX08 was not sent yet",
 * PINPAD_ERROR_PROTOCOL, PINPAD_ERROR_IO; the command stays pending after the last two.
 */
PINPAD_API int32_t PINPAD_CALL taviskSURVEY_Get(char *cResp);

/**
 * @brief Ends the survey on the terminal and polls once for its last answer, which is dropped.
 * @return as taviskSURVEY_Get(); after PINPAD_NO_ANSWER go on polling with taviskSURVEY_Get()
 *
 * Failures: as taviskSURVEY_Get(). The terminal is told even when no survey is pending.
 */
PINPAD_API int32_t PINPAD_CALL taviskSURVEY_Stop(void);

/**
 * @brief Shows a customer-experience survey (EX10) and returns; poll with taviskCXSurveys_Get().
 *
 * @param bSurveyType '0'..'3'
 * @param bMsgType    '0'..'3'
 * @param bScoreType  '0'..'5'
 * @param sTimeOut    exactly 3 digits
 * @param sTOutIdle   exactly 3 digits
 * @param sMsgData1   text of characters 0x20..0xFF, may be "", as the four that follow; all five
 *                    together at most 2031 characters
 * @param sMsgData2   text
 * @param sMsgData3   text
 * @param sMsgData4   text
 * @param sMsgData5   text
 *
 * Failures: as taviskQRCode().
 */
PINPAD_API void PINPAD_CALL taviskCXSurveys_Start(char bSurveyType, char bMsgType, char bScoreType,
                                                  const char *sTimeOut, const char *sTOutIdle,
                                                  const char *sMsgData1, const char *sMsgData2,
                                                  const char *sMsgData3, const char *sMsgData4,
                                                  const char *sMsgData5);

/**
 * @brief Polls for the answer to taviskCXSurveys_Start(); waits up to 1.5 s.
 * @param cResp receives 1 or 3 characters and a NUL, 4 bytes
 * @return as taviskSURVEY_Get()
 */
PINPAD_API int32_t PINPAD_CALL taviskCXSurveys_Get(char *cResp);

/**
 * @brief Ends the survey on the terminal and polls once for its last answer, which is dropped.
 * @return as taviskSURVEY_Stop()
 */
PINPAD_API int32_t PINPAD_CALL taviskCXSurveys_Stop(void);

#ifdef __cplusplus
}
#endif

#endif
