#pragma once

#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"

#include <cstddef>
#include <cstdint>

/// Loading a file into the PIN pad: MLI announces it, MLR carries its records, MLE ends it. Each
/// command is one complete exchange and returns the status of the answer. Argument faults are
/// PCL_RESULT_ILLEGAL_ARGUMENT and send nothing; "'pinpad' is NULL" comes first everywhere.

/// The most bytes of a record.
inline constexpr std::size_t ABECS_MEDIA_RECORD_SIZE = 995;

/// Hears of the bytes sent so far, after each record and once before the first one.
using AbecsMediaProgress = void (*)(void *context, std::uint64_t sent, std::uint64_t total);

/// MLI. The name, 1 to 8 characters, is sent in upper case. "'filename' is NULL",
/// "'filename' is empty", "'filename' is too long (max: %d, requested: %zu)".
AbecsRspStat_e abecsMediaLoadInit(AbecsPinpad *pinpad, const char *filename, std::uint32_t size,
                                  std::uint16_t checksum, std::uint8_t mediaType);

/// MLR. "'data' is NULL", "'szData' is too big (max: %d, req: %zu)", "'szData' is zero".
AbecsRspStat_e abecsMediaLoadRecord(AbecsPinpad *pinpad, const void *data, std::size_t szData);

/// MLE.
AbecsRspStat_e abecsMediaLoadEnd(AbecsPinpad *pinpad);

/// Loads the local file `path` under the name `filename`. Returns when the PIN pad has taken all of
/// it; raises PCL_RESULT_IO_ERROR "MLI returned %s", "MLR returned %s" or "MLE returned %s" when it
/// refuses, and the failures of the file and of the three commands. The file is closed in every
/// case. `progress` may be null.
void abecsMediaLoad(AbecsPinpad *pinpad, const char *path, const char *filename,
                    std::uint8_t mediaType, AbecsMediaProgress progress, void *context);
