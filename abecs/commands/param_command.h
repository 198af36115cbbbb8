#pragma once

#include "abecs/cmd_builder.h"
#include "abecs/commands/response.h"
#include "abecs/link.h"
#include "core/guard.h"

/// Commands that are made of parameters, which `addParams(builder)` adds.

/// To be called with a frame open.
template <typename AddParams>
AbecsPacketPtr abecs_build_command(const char *cmdId, AddParams addParams) {
    const AbecsCmdBuilderPtr builder(abecs_cmd_builder_create());
    abecs_cmd_builder_set_cmd_id(builder.get(), cmdId);
    addParams(builder.get());
    AbecsPacketPtr packet(abecsPacketCreate());
    abecs_cmd_builder_build(builder.get(), packet.get());
    return packet;
}

/// Sends the command and returns the status of its answer.
template <typename AddParams>
AbecsRspStat_e abecs_exchange_command(AbecsPinpad *pinpad, const char *cmdId, AddParams addParams,
                                      AbecsReadStatus readStatus = abecs_read_response_status) {
    return pcl_guarded(ABECS_RSP_STAT_ST_INTERR, [&] {
        const AbecsPacketPtr packet = abecs_build_command(cmdId, addParams);
        return abecs_exchange_packet(pinpad, packet.get(), cmdId, readStatus);
    });
}

/// Sends the command and leaves it pending.
template <typename AddParams>
void abecs_start_command(AbecsPinpad *pinpad, const char *cmdId, AddParams addParams) {
    pcl_guarded([&] {
        const AbecsPacketPtr packet = abecs_build_command(cmdId, addParams);
        abecs_link_send_command(pinpad, packet.get());
        abecs_pinpad_set_pending(pinpad, cmdId);
    });
}
