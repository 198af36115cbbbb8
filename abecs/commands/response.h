#pragma once

#include "abecs/packet.h"
#include "abecs/rsp_stat.h"

/// What the commands with a plain answer share: checks that the answer holds an identifier and a
/// status and that the identifier is the command's own or "ERR", and returns the status. Raises
/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized response" and "(%s) Invalid RSP_ID: %s)".
AbecsRspStat_e abecs_read_response_status(AbecsPacket *packet, const char *cmdId);
