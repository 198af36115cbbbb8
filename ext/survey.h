#pragma once

#include "abecs/pinpad.h"

#include <cstddef>
#include <cstdint>

/// EX08: a survey screen with a top and a bottom area.
///
/// Start sends the question and marks it as pending; get polls for the answer; stop ends the survey
/// on the terminal and polls once. The polls return 0 or, when no answer came in time, -1; the
/// survey stays pending then and after a failure.

struct AbecsSurveyArea {
    std::uint8_t type; ///< 0..2
    const char *data;
    std::uint16_t length; ///< of the data
};

/// usTimeout 0..999, bScreenStyle 4, 8 or 12. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'pinpad' is NULL", "Invalid value for usTimeout: %d (max: 999)",
/// "Invalid value for bScreenStyle: %d", "Invalid value for bDisplayTopType: %d",
/// "'sDisplayTopData' is NULL" and the same two for the bottom.
void abecs_survey_start(AbecsPinpad *pinpad, std::uint16_t usCode, std::uint16_t usTimeout,
                        std::uint8_t bScreenStyle, const AbecsSurveyArea &top,
                        const AbecsSurveyArea &bottom);

/// The answer is one character and a NUL in `cResp`. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "'pinpad' is NULL", "'cResp' is NULL"; PCL_RESULT_ILLEGAL_STATE "%s was not sent yet";
/// PCL_RESULT_PROTOCOL_ERROR "Unrecognized response", "(%s) Invalid RSP_ID: %s)".
std::int32_t abecs_survey_get(AbecsPinpad *pinpad, char *cResp);

/// Writes EOT before anything else is looked at; the answer is dropped.
std::int32_t abecs_survey_stop(AbecsPinpad *pinpad);
