#include "abecs/packet.h"

#include "abecs/param.h"
#include "abecs/wipe.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"

struct AbecsPacket {
    PclBuffer *buffer;
};

AbecsPacket *abecsPacketCreate() {
    return pcl_guarded<AbecsPacket *>(nullptr, [] {
        AbecsPacketPtr packet(static_cast<AbecsPacket *>(pcl_malloc(sizeof(AbecsPacket), 0)));
        packet->buffer = nullptr;
        packet->buffer = pcl_buffer_create(ABECS_PACKET_CAPACITY);
        return packet.release();
    });
}

void abecsPacketDestroy(AbecsPacket **packet) {
    if (packet == nullptr || *packet == nullptr) {
        return;
    }
    // It may have carried what a customer typed.
    abecs_wipe_buffer((*packet)->buffer);
    pcl_buffer_destroy(&(*packet)->buffer);
    pcl_free(*packet);
    *packet = nullptr;
}

PclBuffer *abecsPacketBuffer(AbecsPacket *packet) {
    if (packet == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'packet' is NULL");
        return nullptr;
    }
    return packet->buffer;
}

AbecsField::AbecsField(AbecsPacket *packet) : m_buffer(abecsPacketBuffer(packet)) {}

void abecsPacketClear(AbecsPacket *packet) {
    if (PclBuffer *buffer = abecsPacketBuffer(packet); buffer != nullptr) {
        pcl_buffer_clear(buffer);
    }
}

std::size_t abecsPacketAvailable(AbecsPacket *packet) {
    PclBuffer *buffer = abecsPacketBuffer(packet);
    return buffer == nullptr ? 0 : pcl_buffer_available(buffer);
}

void abecsPacketMark(AbecsPacket *packet, AbecsPacketMark *out) {
    PclBuffer *buffer = abecsPacketBuffer(packet);
    if (buffer == nullptr) {
        return;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return;
    }
    *out = pcl_buffer_get_state(buffer);
}

void abecsPacketRestore(AbecsPacket *packet, const AbecsPacketMark *mark) {
    PclBuffer *buffer = abecsPacketBuffer(packet);
    if (buffer != nullptr && mark != nullptr) {
        pcl_buffer_set_state(buffer, *mark);
    }
}

void abecsPacketWriteByte(AbecsPacket *packet, std::uint8_t byte) {
    if (PclBuffer *buffer = abecsPacketBuffer(packet); buffer != nullptr) {
        pcl_buffer_write_byte(buffer, byte);
    }
}

std::uint8_t abecsPacketReadByte(AbecsPacket *packet) {
    PclBuffer *buffer = abecsPacketBuffer(packet);
    return buffer == nullptr ? std::uint8_t{0} : pcl_buffer_read_byte(buffer);
}

void abecsPacketWriteParam(AbecsPacket *packet, AbecsParam *param) {
    pcl_guarded([&] {
        abecsFieldPutBinary(packet, abecsParamGetId(param), 2);
        abecsFieldPutBinary(packet, static_cast<std::uint32_t>(abecsParamLength(param)), 2);
        while (abecsParamLength(param) > 0) {
            abecsPacketWriteByte(packet, abecsParamReadByte(param));
        }
    });
}

void abecsPacketReadParam(AbecsPacket *packet, AbecsParam *param) {
    pcl_guarded([&] {
        abecsParamClear(param);
        abecsParamSetId(param, static_cast<std::uint16_t>(abecsFieldGetBinary(packet, 2)));
        const std::uint32_t length = abecsFieldGetBinary(packet, 2);
        const std::size_t available = abecsPacketAvailable(packet);
        if (available < length) {
            pcl_raise(PCL_RESULT_PROTOCOL_ERROR,
                      "Malformed parameter (expected data length: %u, available: %u)", length,
                      static_cast<unsigned>(available));
            return;
        }
        for (std::uint32_t i = 0; i < length; ++i) {
            abecsParamWriteByte(param, abecsPacketReadByte(packet));
        }
    });
}

char *abecs_packet_get_cmd_id(AbecsPacket *packet, char *out, std::size_t sizeOut) {
    if (packet == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'packet' is NULL");
        return out;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return out;
    }
    return pcl_guarded(out, [&] {
        AbecsPacketMark start;
        abecsPacketMark(packet, &start);
        abecsFieldGetAlpha(packet, out, sizeOut, ABECS_CMD_ID_LENGTH, 0);
        abecsPacketRestore(packet, &start);
        return out;
    });
}
