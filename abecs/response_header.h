#pragma once

#include "abecs/packet.h"
#include "abecs/rsp_stat.h"

/// What all plain answers have in common: checks that the answer holds an identifier and a
/// status and that the identifier is the command's own or "ERR", and returns the status. Raises
/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized response" and, with the command's identifier and the one
/// that was read, the format given.
AbecsRspStat_e abecs_read_response_header(AbecsPacket *packet, const char *cmdId,
                                          const char *invalidId);
