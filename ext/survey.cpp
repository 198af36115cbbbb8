#include "ext/survey.h"

#include "core/exception.h"
#include "ext/ext_command.h"
#include "ext/ext_link.h"
#include "ext/survey_poll.h"

#include <cstdio>

namespace {

constexpr char EX08[] = "EX08";

constexpr std::uint16_t MAX_TIMEOUT = 999;
constexpr std::uint8_t MAX_AREA_TYPE = 2;
constexpr std::size_t CODE_DIGITS = 4;
constexpr std::size_t RESPONSE_LENGTH = ABECS_EXT_CMD_ID_LENGTH + 2;

bool isArea(const AbecsSurveyArea &area, const char *which) {
    if (area.type > MAX_AREA_TYPE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for bDisplay%sType: %d", which,
                  area.type);
        return false;
    }
    if (area.data == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'sDisplay%sData' is NULL", which);
        return false;
    }
    return true;
}

void putArea(AbecsPacket *packet, const AbecsSurveyArea &area) {
    abecs_ext_put_char(packet, static_cast<char>('0' + area.type));
    abecsFieldPutNumber(packet, area.length, 3);
    abecs_ext_put_raw_text(packet, area.data);
}

void putCode(AbecsPacket *packet, std::uint16_t usCode) {
    char code[CODE_DIGITS + 1];
    std::snprintf(code, sizeof code, "%04X", static_cast<unsigned>(usCode));
    abecsFieldPutHexText(packet, code, CODE_DIGITS);
}

} // namespace

void abecs_survey_start(AbecsPinpad *pinpad, std::uint16_t usCode, std::uint16_t usTimeout,
                        std::uint8_t bScreenStyle, const AbecsSurveyArea &top,
                        const AbecsSurveyArea &bottom) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    if (usTimeout > MAX_TIMEOUT) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for usTimeout: %d (max: 999)",
                  usTimeout);
        return;
    }
    if (bScreenStyle != 4 && bScreenStyle != 8 && bScreenStyle != 12) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for bScreenStyle: %d", bScreenStyle);
        return;
    }
    if (!isArea(top, "Top") || !isArea(bottom, "Bottom")) {
        return;
    }
    pcl_guarded([&] {
        const AbecsPacketLocal packet;
        abecs_ext_put_text(packet, EX08);
        putCode(packet, usCode);
        abecsFieldPutNumber(packet, usTimeout, 3);
        abecs_ext_put_char(packet, "0123456789ABCDEF"[bScreenStyle]);
        putArea(packet, top);
        putArea(packet, bottom);
        abecs_ext_send_packet(pinpad, packet);
        abecs_ext_set_pending(pinpad, EX08);
    });
}

std::int32_t abecs_survey_get(AbecsPinpad *pinpad, char *cResp) {
    return abecs_survey_poll(
        pinpad, cResp, EX08, [](std::size_t length) { return length == RESPONSE_LENGTH; },
        [cResp](AbecsPacket *packet) {
            const auto first = static_cast<char>(abecsPacketReadByte(packet));
            const auto second = static_cast<char>(abecsPacketReadByte(packet));
            cResp[0] = first != '0' ? first : second;
            cResp[1] = '\0';
        });
}

std::int32_t abecs_survey_stop(AbecsPinpad *pinpad) {
    return abecs_survey_stop_with(pinpad, abecs_survey_get);
}
