#pragma once

#include "abecs/field.h"
#include "core/owned.h"

#include <cstddef>
#include <cstdint>

/// One tagged parameter of a command or response: a 16-bit data identifier and a value of at most
/// 999 bytes. Every operation raises PCL_RESULT_ILLEGAL_ARGUMENT "'param' is NULL" for a null
/// parameter. The field operations of abecs/field.h take a parameter as they are.
struct AbecsParam;

inline constexpr std::uint32_t ABECS_PARAM_CAPACITY = 999;

/// A parameter with identifier 0 and an empty value, owned by the caller.
AbecsParam *abecsParamCreate();
void abecsParamDestroy(AbecsParam **param);

using AbecsParamPtr = PclOwned<AbecsParam, abecsParamDestroy>;
using AbecsParamLocal = PclLocal<AbecsParam, abecsParamCreate, abecsParamDestroy>;

std::uint16_t abecsParamGetId(AbecsParam *param);
void abecsParamSetId(AbecsParam *param, std::uint16_t id);

/// Empties the value and keeps the identifier.
void abecsParamClear(AbecsParam *param);

/// Identifier 0 and an empty value.
void abecsParamReset(AbecsParam *param);

/// Bytes of the value left to read.
std::size_t abecsParamLength(AbecsParam *param);

void abecsParamWriteByte(AbecsParam *param, std::uint8_t byte);
std::uint8_t abecsParamReadByte(AbecsParam *param);

/// The buffer behind the value, owned by the parameter.
PclBuffer *abecsParamBuffer(AbecsParam *param);
