#include "abecs/commands/command_params.h"

#include "core/guard.h"

namespace {

template <typename Write>
void addParam(AbecsCmdBuilder *builder, std::uint16_t id, Write write) {
    pcl_guarded([&] {
        const AbecsParamLocal param;
        abecsParamSetId(param, id);
        write(param);
        abecs_cmd_builder_add_param(builder, param);
    });
}

} // namespace

void abecs_add_binary_param(AbecsCmdBuilder *builder, std::uint16_t id, std::uint32_t value,
                            std::size_t width) {
    addParam(builder, id, [&](AbecsParam *param) { abecsFieldPutBinary(param, value, width); });
}

void abecs_add_alpha_param(AbecsCmdBuilder *builder, std::uint16_t id, const char *text,
                           std::size_t fieldLen) {
    addParam(builder, id, [&](AbecsParam *param) { abecsFieldPutAlpha(param, text, fieldLen, 0); });
}

void abecs_add_alpha_ext_param(AbecsCmdBuilder *builder, std::uint16_t id, const char *text,
                               std::size_t fieldLen, std::uint8_t allowCR) {
    addParam(builder, id,
             [&](AbecsParam *param) { abecsFieldPutAlphaExt(param, text, fieldLen, allowCR); });
}
