#include "pinpad/pinpad.h"

#include "abecs/commands/capture.h"
#include "abecs/commands/close.h"
#include "api/global_session.h"
#include "core/guard.h"
#include "ext/cx_survey.h"
#include "ext/mifare.h"
#include "ext/qrcode.h"
#include "ext/survey.h"

#include <cstring>

// Each export runs inside a frame of its own, so that by the time a failure reaches the host's
// handler no frame is open and nothing is held: the handler may leave in any way it likes.

namespace {

template <typename Body>
std::int32_t exported(Body &&body) {
    return pcl_guarded<std::int32_t>(PINPAD_FAILED, std::forward<Body>(body));
}

template <typename Command>
std::int32_t closeSession(Command &&command) {
    return exported([&] {
        const std::int32_t status = command();
        pinpad_session_drop();
        return status;
    });
}

// A host's null text must not crash the till: it measures as empty.
std::size_t lengthOf(const char *text) {
    return text == nullptr ? 0 : std::strlen(text);
}

std::uint16_t shortLengthOf(const char *text) {
    return static_cast<std::uint16_t>(lengthOf(text));
}

} // namespace

std::int32_t PINPAD_CALL PP_Open(const char *portName, std::uint8_t secure) {
    return exported([&] { return pinpad_session_open(portName, secure); });
}

std::int32_t PINPAD_CALL PP_Close(const char *message) {
    return closeSession([&] { return abecs_clo(pinpad_session(), message); });
}

std::int32_t PINPAD_CALL PP_CloseExtended(const char *dspMsg, const char *mfName) {
    return closeSession([&] { return abecs_clx(pinpad_session(), dspMsg, mfName); });
}

void PINPAD_CALL PP_Abort() {
    pcl_guarded([] { pinpad_session_abort(); });
}

void PINPAD_CALL abecsGetClearData(std::uint16_t promptId, std::uint8_t minDig, std::uint8_t maxDig,
                                   std::uint8_t timeoutSeconds) {
    pcl_guarded(
        [&] { abecs_gcd_start(pinpad_session(), promptId, minDig, maxDig, timeoutSeconds); });
}

std::int32_t PINPAD_CALL abecsGetClearDataResponse(char *out, char *notification) {
    return exported([&] { return abecs_gcd_response(pinpad_session(), out, notification); });
}

std::int32_t PINPAD_CALL taviskMF_Activate(char *szSerialNumber, char *pbStatus) {
    return exported([&] { return abecs_mf_activate(pinpad_session(), szSerialNumber, pbStatus); });
}

std::int32_t PINPAD_CALL taviskMF_Authenticate(std::uint16_t usBlockAddress, char cType,
                                               const char *szKey, const char *szSerialNumber,
                                               char *pbStatus) {
    return exported([&] {
        return abecs_mf_authenticate(pinpad_session(), usBlockAddress, cType, szKey, szSerialNumber,
                                     pbStatus);
    });
}

std::int32_t PINPAD_CALL taviskMF_ReadWrite(char cOperation, std::uint16_t usBlockAddress,
                                            std::uint8_t bBlockByte, std::uint32_t *pdwDataLen,
                                            char *szData, char *pbStatus) {
    return exported([&] {
        return abecs_mf_read_write(pinpad_session(), cOperation, usBlockAddress, bBlockByte,
                                   pdwDataLen, szData, pbStatus);
    });
}

std::int32_t PINPAD_CALL taviskMF_ValueCommand(std::uint16_t usBlockOrigin,
                                               std::uint16_t usBlockDestination, char cOperation,
                                               std::int32_t iValue, std::int32_t *piValueResult,
                                               char *pbStatus) {
    return exported([&] {
        return abecs_mf_value_command(pinpad_session(), usBlockOrigin, usBlockDestination,
                                      cOperation, iValue, piValueResult, pbStatus);
    });
}

std::int32_t PINPAD_CALL taviskMF_BlockConfigGet(std::uint16_t usBlockAddress, char *pbConfigFlags,
                                                 char *pbStatus) {
    return exported([&] {
        return abecs_mf_block_config_get(pinpad_session(), usBlockAddress, pbConfigFlags, pbStatus);
    });
}

std::int32_t PINPAD_CALL taviskMF_BlockConfigSet(std::uint16_t usBlockAddress, const char *szKeyA,
                                                 const char *szKeyB, const char *pbConfigFlags,
                                                 char *pbStatus) {
    return exported([&] {
        return abecs_mf_block_config_set(pinpad_session(), usBlockAddress, szKeyA, szKeyB,
                                         pbConfigFlags, pbStatus);
    });
}

std::int32_t PINPAD_CALL taviskMF_KeyChange(std::uint16_t usBlockAddress, const char *szKeyA,
                                            const char *szKeyB, char *pbStatus) {
    return exported([&] {
        return abecs_mf_key_change(pinpad_session(), usBlockAddress, szKeyA, szKeyB, pbStatus);
    });
}

void PINPAD_CALL taviskQRCode(std::uint64_t usTimeout, char bLineType, const char *line,
                              const char *qrCode) {
    pcl_guarded([&] {
        abecs_qr_start(pinpad_session(), usTimeout, bLineType, lengthOf(line), line,
                       lengthOf(qrCode), qrCode);
    });
}

std::int32_t PINPAD_CALL taviskQRCode_response(std::uint8_t *result) {
    return exported([&] { return abecs_qr_response(pinpad_session(), result); });
}

void PINPAD_CALL taviskSURVEY_Start(std::uint32_t usCode, std::uint16_t usTimeout,
                                    std::uint8_t bScreenStyle, std::uint8_t bDisplayTopType,
                                    const char *sDisplayTopData, std::uint8_t bDisplayBottomType,
                                    const char *sDisplayBottomData) {
    pcl_guarded([&] {
        abecs_survey_start(
            pinpad_session(), static_cast<std::uint16_t>(usCode), usTimeout, bScreenStyle,
            {bDisplayTopType, sDisplayTopData, shortLengthOf(sDisplayTopData)},
            {bDisplayBottomType, sDisplayBottomData, shortLengthOf(sDisplayBottomData)});
    });
}

std::int32_t PINPAD_CALL taviskSURVEY_Get(char *cResp) {
    return exported([&] { return abecs_survey_get(pinpad_session(), cResp); });
}

std::int32_t PINPAD_CALL taviskSURVEY_Stop() {
    return exported([] { return abecs_survey_stop(pinpad_session()); });
}

void PINPAD_CALL taviskCXSurveys_Start(char bSurveyType, char bMsgType, char bScoreType,
                                       const char *sTimeOut, const char *sTOutIdle,
                                       const char *sMsgData1, const char *sMsgData2,
                                       const char *sMsgData3, const char *sMsgData4,
                                       const char *sMsgData5) {
    pcl_guarded([&] {
        abecs_cx_survey_start(pinpad_session(), bSurveyType, bMsgType, bScoreType, sTimeOut,
                              sTOutIdle, {sMsgData1, sMsgData2, sMsgData3, sMsgData4, sMsgData5});
    });
}

std::int32_t PINPAD_CALL taviskCXSurveys_Get(char *cResp) {
    return exported([&] { return abecs_cx_survey_get(pinpad_session(), cResp); });
}

std::int32_t PINPAD_CALL taviskCXSurveys_Stop() {
    return exported([] { return abecs_cx_survey_stop(pinpad_session()); });
}
