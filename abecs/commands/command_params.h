#pragma once

#include "abecs/cmd_builder.h"

#include <cstddef>
#include <cstdint>

/// Append one parameter to a command. The values are written by the field codec, which raises what
/// it does not accept.

/// Binary field of 1, 2 or 4 bytes.
void abecs_add_binary_param(AbecsCmdBuilder *builder, std::uint16_t id, std::uint32_t value,
                            std::size_t width);

/// Text of 0x20..0x7E, padded with blanks to fieldLen.
void abecs_add_alpha_param(AbecsCmdBuilder *builder, std::uint16_t id, const char *text,
                           std::size_t fieldLen);

/// Text of 0x20..0xFF, and carriage return when allowCR is 1, padded with blanks to fieldLen.
void abecs_add_alpha_ext_param(AbecsCmdBuilder *builder, std::uint16_t id, const char *text,
                               std::size_t fieldLen, std::uint8_t allowCR);
