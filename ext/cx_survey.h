#pragma once

#include "abecs/pinpad.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// EX10: a customer-experience survey. Start, get and stop work as those of ext/survey.h.

inline constexpr std::size_t ABECS_CX_SURVEY_MESSAGES = 5;

/// bSurveyType and bMsgType '0'..'3', bScoreType '0'..'5', both timeouts 3 digits, five texts that
/// may be empty. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'pinpad' is NULL",
/// "Invalid value for bSurveyType: %c" (bMsgType, bScoreType alike),
/// "Invalid size for sTimeOut: %s (exact: 3)", "Invalid value for sTimeOut: %s (max: 999)"
/// (sTOutIdle alike), "'sMsgData1' is NULL" to "'sMsgData5' is NULL".
void abecs_cx_survey_start(AbecsPinpad *pinpad, char bSurveyType, char bMsgType, char bScoreType,
                           const char *sTimeOut, const char *sTOutIdle,
                           const std::array<const char *, ABECS_CX_SURVEY_MESSAGES> &sMsgData);

/// The answer is 1 or 3 characters and a NUL in `cResp`.
std::int32_t abecs_cx_survey_get(AbecsPinpad *pinpad, char *cResp);

std::int32_t abecs_cx_survey_stop(AbecsPinpad *pinpad);
