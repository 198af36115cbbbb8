#include "abecs/response_header.h"

#include "abecs/response_parser.h"
#include "core/exception.h"
#include "core/guard.h"

#include <cstring>

AbecsRspStat_e abecs_read_response_header(AbecsPacket *packet, const char *cmdId,
                                          const char *invalidId) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        constexpr std::size_t HEADER_SIZE = 6;
        if (abecsPacketAvailable(packet) < HEADER_SIZE) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response");
            return ABECS_RSP_STAT_ST_INTERR;
        }
        char rspId[4];
        abecsFieldGetAlpha(packet, rspId, sizeof rspId, 3, 0);
        if (std::strcmp(rspId, cmdId) != 0 && std::strcmp(rspId, ABECS_RSP_ID_ERROR) != 0) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR, invalidId, cmdId, rspId);
            return ABECS_RSP_STAT_ST_INTERR;
        }
        return abecsReadRspStat(packet);
    });
}
