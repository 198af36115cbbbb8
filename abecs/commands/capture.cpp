#include "abecs/commands/capture.h"

#include "abecs/commands/command_params.h"
#include "abecs/commands/param_command.h"
#include "abecs/commands/polling.h"
#include "abecs/link.h"
#include "abecs/response_parser.h"
#include "abecs/rsp_datid.h"
#include "core/exception.h"

#include <cstring>

namespace {

constexpr char GCD[] = "GCD";
constexpr std::uint8_t MAX_DIGITS = 32;

constexpr std::uint16_t PARAM_PROMPT = 11;
constexpr std::uint16_t PARAM_TIMEOUT = 12;
constexpr std::uint16_t PARAM_MIN_DIGITS = 13;
constexpr std::uint16_t PARAM_MAX_DIGITS = 14;

void copyTypedText(AbecsResponseParser *parser, char *out) {
    const AbecsParamLocal param;
    while (abecsParserNextParam(parser, param) != nullptr) {
        if (abecsParamGetId(param) == ABECS_RSP_DATID_PP_VALUE) {
            const std::size_t length = abecsParamLength(param);
            abecsFieldGetBytes(param, out, length, length);
            out[length] = '\0';
            return;
        }
    }
    pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "PP_VALUE not found on response");
}

std::int32_t readAnswer(AbecsPinpad *pinpad, char *out, char *notification) {
    const AbecsPacketLocal packet;
    const AbecsResponseParserLocal parser;
    abecs_link_receive_response(pinpad, packet);
    abecsParserParse(parser, packet);
    const AbecsRspStat_e status = abecsParserGetRspStat(parser);
    if (status == ABECS_RSP_STAT_ST_NOTIFICATION) {
        abecsParserGetNotification(parser, notification);
        abecs_pinpad_settle(pinpad);
        return status;
    }
    abecsParserRequireRspId(parser, GCD);
    if (status == ABECS_RSP_STAT_ST_OK) {
        copyTypedText(parser, out);
    }
    abecs_pinpad_clear_pending(pinpad);
    abecs_pinpad_settle(pinpad);
    return status;
}

} // namespace

void abecs_gcd_start(AbecsPinpad *pinpad, std::uint16_t promptId, std::uint8_t minDig,
                     std::uint8_t maxDig, std::uint8_t timeoutSeconds) {
    if (minDig > MAX_DIGITS) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for minDig: %d (max: 32)", minDig);
        return;
    }
    if (maxDig > MAX_DIGITS) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid value for maxDig: %d (max: 32)", maxDig);
        return;
    }
    if (minDig > maxDig) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "minDig (%d) > maxDig (%d)", minDig, maxDig);
        return;
    }
    abecs_start_command(pinpad, GCD, [&](AbecsCmdBuilder *builder) {
        abecs_add_binary_param(builder, PARAM_PROMPT, promptId, 2);
        abecs_add_binary_param(builder, PARAM_MIN_DIGITS, minDig, 1);
        abecs_add_binary_param(builder, PARAM_MAX_DIGITS, maxDig, 1);
        if (timeoutSeconds != 0) {
            abecs_add_binary_param(builder, PARAM_TIMEOUT, timeoutSeconds, 1);
        }
    });
}

std::int32_t abecs_gcd_response(AbecsPinpad *pinpad, char *out, char *notification) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    return abecs_poll([&] {
        abecs_pinpad_require_pending(pinpad, GCD);
        return readAnswer(pinpad, out, notification);
    });
}
