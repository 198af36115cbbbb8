#include "abecs/commands/response.h"

#include "abecs/link.h"
#include "abecs/response_header.h"
#include "abecs/response_parser.h"
#include "core/guard.h"

AbecsRspStat_e abecs_read_response_status(AbecsPacket *packet, const char *cmdId) {
    return abecs_read_response_header(packet, cmdId, "(%s) Invalid RSP_ID: %s)");
}

AbecsRspStat_e abecs_parse_response_status(AbecsPacket *packet, const char *cmdId) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsResponseParserLocal parser;
        abecsParserParse(parser, packet);
        abecsParserRequireRspId(parser, cmdId);
        return abecsParserGetRspStat(parser);
    });
}

AbecsRspStat_e abecs_exchange_packet(AbecsPinpad *pinpad, AbecsPacket *packet, const char *cmdId,
                                     AbecsReadStatus readStatus) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        abecs_link_exchange(pinpad, packet);
        const AbecsRspStat_e status = readStatus(packet, cmdId);
        abecs_pinpad_settle(pinpad);
        return status;
    });
}
