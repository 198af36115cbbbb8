#pragma once

#include "abecs/packet.h"
#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"

/// What the commands with a plain answer share: checks that the answer holds an identifier and a
/// status and that the identifier is the command's own or "ERR", and returns the status. Raises
/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized response" and "(%s) Invalid RSP_ID: %s)".
AbecsRspStat_e abecs_read_response_status(AbecsPacket *packet, const char *cmdId);

/// The same for the commands whose answer is parsed whole: raises what the parser raises, too.
AbecsRspStat_e abecs_parse_response_status(AbecsPacket *packet, const char *cmdId);

/// One of the two above.
using AbecsReadStatus = AbecsRspStat_e (*)(AbecsPacket *packet, const char *cmdId);

/// Sends the command that the packet holds and returns the status of its answer.
AbecsRspStat_e abecs_exchange_packet(AbecsPinpad *pinpad, AbecsPacket *packet, const char *cmdId,
                                     AbecsReadStatus readStatus = abecs_read_response_status);
