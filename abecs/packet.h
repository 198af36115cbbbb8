#pragma once

#include "abecs/field.h"
#include "core/buffer.h"
#include "core/owned.h"

#include <cstddef>
#include <cstdint>

/// The body of one command or response: a byte queue of 2044 bytes, written at its end and consumed
/// from its front. Every operation raises PCL_RESULT_ILLEGAL_ARGUMENT "'packet' is NULL" for a null
/// packet. The field operations of abecs/field.h take a packet as they are.
struct AbecsPacket;

using AbecsPacketMark = PclBufferState;

inline constexpr std::uint32_t ABECS_PACKET_CAPACITY = 2044;

inline constexpr std::size_t ABECS_CMD_ID_LENGTH = 3;

/// The caller owns the packet and releases it with abecsPacketDestroy.
AbecsPacket *abecsPacketCreate();
void abecsPacketDestroy(AbecsPacket **packet);

using AbecsPacketPtr = PclOwned<AbecsPacket, abecsPacketDestroy>;
using AbecsPacketLocal = PclLocal<AbecsPacket, abecsPacketCreate, abecsPacketDestroy>;

void abecsPacketClear(AbecsPacket *packet);

/// Bytes left to read.
std::size_t abecsPacketAvailable(AbecsPacket *packet);

/// Saves the positions into `out` ("'out' is NULL"), and puts them back; restoring from null does
/// nothing.
void abecsPacketMark(AbecsPacket *packet, AbecsPacketMark *out);
void abecsPacketRestore(AbecsPacket *packet, const AbecsPacketMark *mark);

void abecsPacketWriteByte(AbecsPacket *packet, std::uint8_t byte);
std::uint8_t abecsPacketReadByte(AbecsPacket *packet);

/// Appends identifier, value length and value of the parameter, whose value is consumed.
void abecsPacketWriteParam(AbecsPacket *packet, AbecsParam *param);

/// Reads one parameter into `param`. Raises PCL_RESULT_PROTOCOL_ERROR
/// "Malformed parameter (expected data length: %u, available: %u)" when its value is longer than
/// what is left of the packet.
void abecsPacketReadParam(AbecsPacket *packet, AbecsParam *param);

/// Copies the identifier of a command's body into `out` (4 bytes or more) without consuming it.
char *abecs_packet_get_cmd_id(AbecsPacket *packet, char *out, std::size_t sizeOut);

/// The buffer behind the packet, owned by it.
PclBuffer *abecsPacketBuffer(AbecsPacket *packet);
