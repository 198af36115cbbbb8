#include "ext/cx_survey.h"

#include "abecs/text_check.h"
#include "core/exception.h"
#include "ext/ext_command.h"
#include "ext/ext_link.h"
#include "ext/survey_poll.h"

#include <cstring>

namespace {

constexpr char EX10[] = "EX10";

constexpr std::size_t TIMEOUT_DIGITS = 3;
constexpr std::size_t SHORT_ANSWER = 1;
constexpr std::size_t LONG_ANSWER = 3;

bool isBetween(char c, char lowest, char highest, const char *name) {
    if (c < lowest || c > highest) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for %s: %c", name, c);
        return false;
    }
    return true;
}

bool isTimeout(const char *text, const char *name) {
    const char *shown = text == nullptr ? "" : text;
    if (std::strlen(shown) != TIMEOUT_DIGITS) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid size for %s: %s (exact: 3)", name, shown);
        return false;
    }
    if (abecsIsDigits(shown, TIMEOUT_DIGITS, nullptr) == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for %s: %s (max: 999)", name, shown);
        return false;
    }
    return true;
}

bool areGiven(const std::array<const char *, ABECS_CX_SURVEY_MESSAGES> &messages) {
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (messages[i] == nullptr) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'sMsgData%zu' is NULL", i + 1);
            return false;
        }
    }
    return true;
}

} // namespace

void abecs_cx_survey_start(AbecsPinpad *pinpad, char bSurveyType, char bMsgType, char bScoreType,
                           const char *sTimeOut, const char *sTOutIdle,
                           const std::array<const char *, ABECS_CX_SURVEY_MESSAGES> &sMsgData) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    if (!isBetween(bSurveyType, '0', '3', "bSurveyType") ||
        !isBetween(bMsgType, '0', '3', "bMsgType") ||
        !isBetween(bScoreType, '0', '5', "bScoreType") || !isTimeout(sTimeOut, "sTimeOut") ||
        !isTimeout(sTOutIdle, "sTOutIdle") || !areGiven(sMsgData)) {
        return;
    }
    pcl_guarded([&] {
        const AbecsPacketLocal packet;
        abecs_ext_put_text(packet, EX10);
        abecs_ext_put_char(packet, bSurveyType);
        abecs_ext_put_char(packet, bMsgType);
        abecs_ext_put_char(packet, bScoreType);
        abecs_ext_put_raw_text(packet, sTimeOut);
        abecs_ext_put_raw_text(packet, sTOutIdle);
        for (const char *message : sMsgData) {
            abecs_ext_put_raw_text(packet, message);
        }
        abecs_ext_send_packet(pinpad, packet);
        abecs_ext_set_pending(pinpad, EX10);
    });
}

std::int32_t abecs_cx_survey_get(AbecsPinpad *pinpad, char *cResp) {
    return abecs_survey_poll(
        pinpad, cResp, EX10,
        [](std::size_t length) {
            return length == ABECS_EXT_CMD_ID_LENGTH + SHORT_ANSWER ||
                   length == ABECS_EXT_CMD_ID_LENGTH + LONG_ANSWER;
        },
        [cResp](AbecsPacket *packet) {
            const std::size_t length = abecsPacketAvailable(packet);
            abecsFieldGetBytes(packet, cResp, length, length);
            cResp[length] = '\0';
        });
}

std::int32_t abecs_cx_survey_stop(AbecsPinpad *pinpad) {
    return abecs_survey_stop_with(pinpad, abecs_cx_survey_get);
}
