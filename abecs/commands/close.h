#pragma once

#include "abecs/pinpad.h"
#include "abecs/rsp_stat.h"

/// The commands that end a session with the PIN pad. Once the PIN pad has acknowledged one, the
/// secure channel is off, whatever it answers. They return the status of the answer.

/// CLO: leaves an idle message of up to 32 characters (0x20..0xFF) on the display; null is the
/// empty message. PCL_RESULT_ILLEGAL_ARGUMENT "'msg' it too long (maximum: %d, requested: %zu)".
AbecsRspStat_e abecs_clo(AbecsPinpad *pinpad, const char *msg);

/// CLX: leaves a message of up to 128 characters (carriage return breaks the line) or a stored
/// media file with a name of up to 8 characters on the display; both may be null or empty.
/// PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL",
/// "'dspMsg' length (%zu)  is greater than 128 characters",
/// "'mfName' length (%zu) is greater than 8 characters".
AbecsRspStat_e abecs_clx(AbecsPinpad *pinpad, const char *dspMsg, const char *mfName);
