#include "abecs/cmd_builder.h"

#include "abecs/wipe.h"
#include "core/buffer.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"

#include <cstring>

struct AbecsCmdBuilder {
    char cmdId[ABECS_CMD_ID_LENGTH + 1];
    PclBuffer *block1;
    PclBuffer *block2;
};

namespace {

constexpr std::size_t PARAM_HEADER_SIZE = 4;
constexpr std::size_t BLOCK_LENGTH_DIGITS = 3;

bool isGiven(const AbecsCmdBuilder *builder) {
    if (builder == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'builder' is NULL");
        return false;
    }
    return true;
}

void moveBlock(PclBuffer *block, AbecsPacket *out) {
    abecsFieldPutNumber(out, pcl_buffer_available(block), BLOCK_LENGTH_DIGITS);
    while (pcl_buffer_available(block) > 0) {
        abecsPacketWriteByte(out, pcl_buffer_read_byte(block));
    }
}

} // namespace

AbecsCmdBuilder *abecs_cmd_builder_create() {
    return pcl_guarded<AbecsCmdBuilder *>(nullptr, [] {
        AbecsCmdBuilderPtr builder(
            static_cast<AbecsCmdBuilder *>(pcl_malloc(sizeof(AbecsCmdBuilder), 0)));
        *builder = AbecsCmdBuilder{};
        builder->block1 = pcl_buffer_create(ABECS_BLOCK_CAPACITY);
        builder->block2 = pcl_buffer_create(ABECS_BLOCK_CAPACITY);
        return builder.release();
    });
}

void abecs_cmd_builder_destroy(AbecsCmdBuilder **builder) {
    if (builder == nullptr || *builder == nullptr) {
        return;
    }
    for (PclBuffer **block : {&(*builder)->block1, &(*builder)->block2}) {
        abecs_wipe_buffer(*block);
        pcl_buffer_destroy(block);
    }
    pcl_free(*builder);
    *builder = nullptr;
}

void abecs_cmd_builder_reset(AbecsCmdBuilder *builder) {
    if (isGiven(builder)) {
        builder->cmdId[0] = '\0';
        pcl_buffer_clear(builder->block1);
        pcl_buffer_clear(builder->block2);
    }
}

void abecs_cmd_builder_set_cmd_id(AbecsCmdBuilder *builder, const char *cmdId) {
    if (!isGiven(builder)) {
        return;
    }
    if (cmdId == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'cmdId' is NULL");
        return;
    }
    if (std::strlen(cmdId) != ABECS_CMD_ID_LENGTH) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid 'cmdId': %s", cmdId);
        return;
    }
    std::memcpy(builder->cmdId, cmdId, sizeof builder->cmdId);
}

void abecs_cmd_builder_add_param(AbecsCmdBuilder *builder, AbecsParam *param) {
    if (!isGiven(builder)) {
        return;
    }
    pcl_guarded([&] {
        const std::size_t length = abecsParamLength(param);
        const bool fitsInBlock1 =
            length + PARAM_HEADER_SIZE <= pcl_buffer_free_space(builder->block1);
        PclBuffer *block = fitsInBlock1 ? builder->block1 : builder->block2;
        abecsFieldPutBinary(block, abecsParamGetId(param), 2);
        abecsFieldPutBinary(block, static_cast<std::uint32_t>(length), 2);
        while (abecsParamLength(param) > 0) {
            pcl_buffer_write_byte(block, abecsParamReadByte(param));
        }
    });
}

AbecsPacket *abecs_cmd_builder_build(AbecsCmdBuilder *builder, AbecsPacket *out) {
    if (!isGiven(builder)) {
        return out;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return out;
    }
    if (builder->cmdId[0] == '\0') {
        pcl_raise(PCL_RESULT_ILLEGAL_STATE, "Builder does not have assigned a command id");
        return out;
    }
    return pcl_guarded(out, [&] {
        abecsPacketClear(out);
        abecsFieldPutAlpha(out, builder->cmdId, ABECS_CMD_ID_LENGTH, 0);
        if (pcl_buffer_available(builder->block1) > 0) {
            moveBlock(builder->block1, out);
            if (pcl_buffer_available(builder->block2) > 0) {
                moveBlock(builder->block2, out);
            }
        }
        builder->cmdId[0] = '\0';
        return out;
    });
}
