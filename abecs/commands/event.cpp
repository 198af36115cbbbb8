#include "abecs/commands/event.h"

#include "abecs/commands/command_params.h"
#include "abecs/commands/param_command.h"
#include "abecs/commands/polling.h"
#include "abecs/link.h"
#include "abecs/rsp_datid.h"
#include "core/exception.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr char CEX[] = "CEX";
constexpr std::size_t OPTIONS_LENGTH = 6;
constexpr std::size_t PAIR_DIGITS = 2;

constexpr std::uint16_t PARAM_OPTIONS = 6;
constexpr std::uint16_t PARAM_NUMBER = 12;
constexpr std::uint16_t PARAM_PAIR = 35;

constexpr std::array<std::int32_t, 14> EVENT_CODES = {0, 2,  3,  4,  5,  6,  7,
                                                      8, 13, 90, 91, 92, 93, 94};

void addPair(AbecsCmdBuilder *builder, const AbecsEventPair &pair) {
    const AbecsParamLocal param;
    abecsParamSetId(param, PARAM_PAIR);
    abecsFieldPutNumber(param, pair.first, PAIR_DIGITS);
    abecsFieldPutNumber(param, pair.second, PAIR_DIGITS);
    abecs_cmd_builder_add_param(builder, param);
}

std::int32_t readAnswer(AbecsPinpad *pinpad, AbecsParamMap *out, char *notification) {
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
    abecsParserRequireRspId(parser, CEX);
    if (status == ABECS_RSP_STAT_ST_OK) {
        abecsParamMapCollect(out, parser);
    }
    abecs_pinpad_clear_pending(pinpad);
    abecs_pinpad_settle(pinpad);
    return status;
}

bool isGiven(const AbecsParamMap *paramMap) {
    if (paramMap == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'paramMap' is NULL");
        return false;
    }
    return true;
}

// What does not fit into 32 bits becomes the largest or the smallest number, which no event has.
std::int32_t readCode(const char *text) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<long long>(std::strtoll(text, nullptr, 10), Limits::min(), Limits::max()));
}

const char *storedText(AbecsParamMap *paramMap, std::uint16_t id) {
    if (!isGiven(paramMap)) {
        return nullptr;
    }
    const AbecsParamValue *value = abecsParamMapGet(paramMap, id);
    return value == nullptr ? nullptr : reinterpret_cast<const char *>(value->data);
}

} // namespace

void abecsCheckEvent(AbecsPinpad *pinpad, const char *cexOpt, const std::uint32_t *number,
                     const AbecsEventPair *pair) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return;
    }
    if (cexOpt == nullptr || std::strlen(cexOpt) != OPTIONS_LENGTH) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'cexOpt' is not valid!");
        return;
    }
    abecs_start_command(pinpad, CEX, [&](AbecsCmdBuilder *builder) {
        abecs_add_alpha_param(builder, PARAM_OPTIONS, cexOpt, OPTIONS_LENGTH);
        if (number != nullptr) {
            abecs_add_binary_param(builder, PARAM_NUMBER, *number, 1);
        }
        if (pair != nullptr) {
            addPair(builder, *pair);
        }
    });
}

std::int32_t abecsCheckEventResponse(AbecsPinpad *pinpad, AbecsParamMap *out, char *notification) {
    if (pinpad == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'pinpad' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return ABECS_POLL_NO_ANSWER;
    }
    abecsParamMapClear(out);
    return abecs_poll([&] { return readAnswer(pinpad, out, notification); });
}

std::int32_t abecsParamMapGetEvent(AbecsParamMap *paramMap) {
    if (!isGiven(paramMap)) {
        return 0;
    }
    const AbecsParamValue *value = abecsParamMapGet(paramMap, ABECS_RSP_DATID_PP_EVENT);
    if (value == nullptr) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Mandatory PP_EVENT not found");
        return 0;
    }
    const char *text = value->data == nullptr ? "" : reinterpret_cast<const char *>(value->data);
    const std::int32_t code = readCode(text);
    if (std::find(EVENT_CODES.begin(), EVENT_CODES.end(), code) == EVENT_CODES.end()) {
        pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Invalid code for PP_EVENT: %d", code);
    }
    return code;
}

const char *abecsParamMapGetTrk1Inc(AbecsParamMap *paramMap) {
    return storedText(paramMap, ABECS_RSP_DATID_PP_TRK1INC);
}

const char *abecsParamMapGetTrk2Inc(AbecsParamMap *paramMap) {
    return storedText(paramMap, ABECS_RSP_DATID_PP_TRK2INC);
}

const char *abecsParamMapGetTrk3Inc(AbecsParamMap *paramMap) {
    return storedText(paramMap, ABECS_RSP_DATID_PP_TRK3INC);
}
