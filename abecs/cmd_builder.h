#pragma once

#include "abecs/packet.h"
#include "abecs/param.h"
#include "core/owned.h"

#include <cstddef>

/// Assembles the body of one command: its identifier and up to two blocks of parameters.
///
/// Nothing is rolled back on a failure: whoever builds drops builder and packet then.
struct AbecsCmdBuilder;

/// The largest length that the three digits of a block's length field can say.
inline constexpr std::uint32_t ABECS_BLOCK_CAPACITY = 999;

/// An empty builder, owned by the caller.
AbecsCmdBuilder *abecs_cmd_builder_create();
void abecs_cmd_builder_destroy(AbecsCmdBuilder **builder);

using AbecsCmdBuilderPtr = PclOwned<AbecsCmdBuilder, abecs_cmd_builder_destroy>;
using AbecsCmdBuilderLocal =
    PclLocal<AbecsCmdBuilder, abecs_cmd_builder_create, abecs_cmd_builder_destroy>;

/// Drops identifier and parameters.
void abecs_cmd_builder_reset(AbecsCmdBuilder *builder);

/// Sets the 3-character identifier. PCL_RESULT_ILLEGAL_ARGUMENT "'cmdId' is NULL" or
/// "Invalid 'cmdId': %s"; the characters are checked when the body is built.
void abecs_cmd_builder_set_cmd_id(AbecsCmdBuilder *builder, const char *cmdId);

/// Appends the parameter to the first block if it still fits there, else to the second, and
/// consumes its value. A parameter that fits in neither fails with PCL_RESULT_IO_ERROR.
void abecs_cmd_builder_add_param(AbecsCmdBuilder *builder, AbecsParam *param);

/// Writes the body into `out`, whose content is dropped, and empties the builder. Returns `out`.
/// PCL_RESULT_ILLEGAL_STATE "Builder does not have assigned a command id" without an identifier.
AbecsPacket *abecs_cmd_builder_build(AbecsCmdBuilder *builder, AbecsPacket *out);
