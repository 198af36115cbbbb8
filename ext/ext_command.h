#pragma once

#include "abecs/commands/polling.h"
#include "abecs/packet.h"
#include "core/guard.h"

#include <cstddef>
#include <cstdint>

/// What the extension commands share.

/// Text at its own length: of 0x20..0x7E, of 0x20..0xFF, and a single character of 0x20..0x7E.
void abecs_ext_put_text(AbecsPacket *packet, const char *text);
void abecs_ext_put_raw_text(AbecsPacket *packet, const char *text);
void abecs_ext_put_char(AbecsPacket *packet, char c);

/// Reads the 4-character identifier of a response and raises PCL_RESULT_PROTOCOL_ERROR with the
/// given format (command identifier, identifier read) unless it is the command's own or "ERR".
void abecs_ext_require_rsp_id(AbecsPacket *packet, const char *cmdId, const char *format);

/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized response".
void abecs_ext_raise_unrecognized();

/// Runs a command or poll: 0 when its body ran to the end, -1 when it ended in a timeout; every
/// other failure is raised again once the body has released what it held.
template <typename Body>
std::int32_t abecs_ext_run(Body body) {
    return abecs_poll([&]() -> std::int32_t {
        body();
        return 0;
    });
}
