#include "abecs/commands/display.h"

#include "abecs/commands/command_params.h"
#include "abecs/commands/media_name.h"
#include "abecs/commands/param_command.h"
#include "abecs/commands/response.h"
#include "abecs/link.h"
#include "abecs/response_parser.h"
#include "abecs/rsp_datid.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstring>

namespace {

constexpr std::size_t DEX_MESSAGE_MAX = 160;
constexpr std::size_t LENGTH_DIGITS = 3;

bool isGiven(const void *argument, const char *name) {
    if (argument == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", name);
        return false;
    }
    return true;
}

const char *nameAt(const PclListNode *node) {
    const auto *name = static_cast<const char *>(pcl_list_node_item(node));
    return name == nullptr ? "" : name;
}

bool areNamesShortEnough(const PclList *files) {
    for (const PclListNode *node = pcl_list_first(files); node != nullptr;
         node = pcl_list_node_next(node)) {
        const char *name = nameAt(node);
        if (std::strlen(name) > ABECS_MEDIA_NAME_SIZE) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "\"%s\" it too long (max: 8, requested: %zu)",
                      name, std::strlen(name));
            return false;
        }
    }
    return true;
}

void collectNames(AbecsResponseParser *parser, PclList *out) {
    const AbecsParamLocal param;
    while (abecsParserNextParam(parser, param) != nullptr) {
        const std::uint16_t id = abecsParamGetId(param);
        if (id != ABECS_RSP_DATID_PP_MFNAME) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Unrecognized RSP_DATID: %u",
                      static_cast<unsigned>(id));
            return;
        }
        char name[ABECS_MEDIA_NAME_SIZE + 1];
        abecsFieldGetAlpha(param, name, sizeof name, ABECS_MEDIA_NAME_SIZE, 0);
        pcl_list_append(out, name);
    }
}

} // namespace

AbecsRspStat_e abecs_dex(AbecsPinpad *pinpad, const char *msg) {
    if (!isGiven(pinpad, "pinpad") || !isGiven(msg, "msg")) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    const std::size_t length = std::strlen(msg);
    if (length > DEX_MESSAGE_MAX) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'msg' it too long (maximum: %d, requested: %zu)",
                  static_cast<int>(DEX_MESSAGE_MAX), length);
        return ABECS_RSP_STAT_ST_INTERR;
    }
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsPacketLocal packet;
        abecsFieldPutAlpha(packet, "DEX", 3, 0);
        abecsFieldPutNumber(packet, length + LENGTH_DIGITS, LENGTH_DIGITS);
        abecsFieldPutNumber(packet, length, LENGTH_DIGITS);
        abecsFieldPutAlphaExt(packet, msg, length, 1);
        return abecs_exchange_packet(pinpad, packet, "DEX");
    });
}

AbecsRspStat_e abecs_dsi(AbecsPinpad *pinpad, const char *filename) {
    if (!isGiven(pinpad, "pinpad") || !abecs_is_media_name(filename)) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    const auto addName = [&](AbecsCmdBuilder *builder) {
        abecs_add_alpha_param(builder, ABECS_PARAM_MEDIA_NAME, filename, ABECS_MEDIA_NAME_SIZE);
    };
    return abecs_exchange_command(pinpad, "DSI", addName);
}

AbecsRspStat_e abecs_dmf(AbecsPinpad *pinpad, const PclList *files) {
    if (!isGiven(pinpad, "pinpad") || !isGiven(files, "files")) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (pcl_list_count(files) == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "At least one file must be supplied");
        return ABECS_RSP_STAT_ST_INTERR;
    }
    if (!areNamesShortEnough(files)) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    const auto addNames = [&](AbecsCmdBuilder *builder) {
        for (const PclListNode *node = pcl_list_first(files); node != nullptr;
             node = pcl_list_node_next(node)) {
            abecs_add_alpha_ext_param(builder, ABECS_PARAM_MEDIA_NAME, nameAt(node),
                                      ABECS_MEDIA_NAME_SIZE, 0);
        }
    };
    return abecs_exchange_command(pinpad, "DMF", addNames, abecs_parse_response_status);
}

AbecsRspStat_e abecs_lmf(AbecsPinpad *pinpad, PclList *out) {
    if (!isGiven(pinpad, "pinpad") || !isGiven(out, "out")) {
        return ABECS_RSP_STAT_ST_INTERR;
    }
    pcl_list_clear(out);
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsPacketLocal packet;
        abecsFieldPutAlpha(packet, "LMF", 3, 0);
        abecs_link_exchange(pinpad, packet);
        const AbecsResponseParserLocal parser;
        abecsParserParse(parser, packet);
        abecsParserRequireRspId(parser, "LMF");
        const AbecsRspStat_e status = abecsParserGetRspStat(parser);
        if (status == ABECS_RSP_STAT_ST_OK) {
            collectNames(parser, out);
        }
        abecs_pinpad_settle(pinpad);
        return status;
    });
}
