#include "abecs/param.h"

#include "abecs/wipe.h"
#include "core/buffer.h"
#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"

struct AbecsParam {
    std::uint16_t id;
    PclBuffer *value;
};

namespace {

bool isGiven(const AbecsParam *param) {
    if (param == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'param' is NULL");
        return false;
    }
    return true;
}

} // namespace

AbecsParam *abecsParamCreate() {
    return pcl_guarded<AbecsParam *>(nullptr, [] {
        AbecsParamPtr param(static_cast<AbecsParam *>(pcl_malloc(sizeof(AbecsParam), 0)));
        param->id = 0;
        param->value = nullptr;
        param->value = pcl_buffer_create(ABECS_PARAM_CAPACITY);
        return param.release();
    });
}

void abecsParamDestroy(AbecsParam **param) {
    if (param == nullptr || *param == nullptr) {
        return;
    }
    abecs_wipe_buffer((*param)->value);
    pcl_buffer_destroy(&(*param)->value);
    pcl_free(*param);
    *param = nullptr;
}

PclBuffer *abecsParamBuffer(AbecsParam *param) {
    return isGiven(param) ? param->value : nullptr;
}

AbecsField::AbecsField(AbecsParam *param) : m_buffer(abecsParamBuffer(param)) {}

std::uint16_t abecsParamGetId(AbecsParam *param) {
    return isGiven(param) ? param->id : std::uint16_t{0};
}

void abecsParamSetId(AbecsParam *param, std::uint16_t id) {
    if (isGiven(param)) {
        param->id = id;
    }
}

void abecsParamClear(AbecsParam *param) {
    if (isGiven(param)) {
        pcl_buffer_clear(param->value);
    }
}

void abecsParamReset(AbecsParam *param) {
    if (isGiven(param)) {
        param->id = 0;
        pcl_buffer_clear(param->value);
    }
}

std::size_t abecsParamLength(AbecsParam *param) {
    return isGiven(param) ? pcl_buffer_available(param->value) : 0;
}

void abecsParamWriteByte(AbecsParam *param, std::uint8_t byte) {
    if (isGiven(param)) {
        pcl_buffer_write_byte(param->value, byte);
    }
}

std::uint8_t abecsParamReadByte(AbecsParam *param) {
    return isGiven(param) ? pcl_buffer_read_byte(param->value) : std::uint8_t{0};
}
