#pragma once

#include "abecs/cmd_builder.h"
#include "abecs/commands/response.h"
#include "abecs/link.h"
#include "core/guard.h"

/// Commands that are made of parameters, which `addParams(builder)` adds.

/// Builds the body into the packet. To be called with a frame open.
template <typename AddParams>
void abecs_build_command(AbecsPacket *packet, const char *cmdId, AddParams addParams) {
    const AbecsCmdBuilderLocal builder;
    abecs_cmd_builder_set_cmd_id(builder, cmdId);
    addParams(builder);
    abecs_cmd_builder_build(builder, packet);
}

/// Sends the command and returns the status of its answer.
template <typename AddParams>
AbecsRspStat_e abecs_exchange_command(AbecsPinpad *pinpad, const char *cmdId, AddParams addParams,
                                      AbecsReadStatus readStatus = abecs_read_response_status) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsPacketLocal packet;
        abecs_build_command(packet, cmdId, addParams);
        return abecs_exchange_packet(pinpad, packet, cmdId, readStatus);
    });
}

/// Sends the command and leaves it pending.
template <typename AddParams>
void abecs_start_command(AbecsPinpad *pinpad, const char *cmdId, AddParams addParams) {
    pcl_guarded([&] {
        const AbecsPacketLocal packet;
        abecs_build_command(packet, cmdId, addParams);
        abecs_link_send_command(pinpad, packet);
        abecs_pinpad_set_pending(pinpad, cmdId);
    });
}
