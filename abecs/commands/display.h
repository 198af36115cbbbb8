#pragma once

#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"
#include "core/list.h"

/// The commands that drive the display. Each is one complete exchange and returns the status of the
/// PIN pad's answer. Argument faults are PCL_RESULT_ILLEGAL_ARGUMENT and send nothing;
/// "'pinpad' is NULL" comes first everywhere.

/// DEX: shows a text of up to 160 characters 0x20..0xFF; carriage return breaks the line.
/// "'msg' is NULL", "'msg' it too long (maximum: %d, requested: %zu)".
AbecsRspStat_e abecs_dex(AbecsPinpad *pinpad, const char *msg);

/// DSI: shows a stored image with a name of 1 to 8 characters. "'filename' is NULL",
/// "'filename' is empty", "'filename' is too long (max: %d, requested: %zu)".
AbecsRspStat_e abecs_dsi(AbecsPinpad *pinpad, const char *filename);

/// DMF: shows stored multimedia files, named by a list of texts, in that order. "'files' is NULL",
/// "At least one file must be supplied", "\"%s\" it too long (max: 8, requested: %zu)".
AbecsRspStat_e abecs_dmf(AbecsPinpad *pinpad, const PclList *files);

/// LMF: fills the list of texts `out` with the names of the stored files. "'out' is NULL";
/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized RSP_DATID: %u". A list that ends in a failure holds the
/// names before it; one for a status other than 0 is empty.
AbecsRspStat_e abecs_lmf(AbecsPinpad *pinpad, PclList *out);
