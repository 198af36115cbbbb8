#include "pinpad/pinpad.h"

#include <cstddef>

// 32-bit hosts compiled elsewhere rely on these numbers: the callee takes as many bytes off the
// stack, and the decorated names carry them.

namespace {

constexpr std::size_t SLOT = 4;

template <typename Result, typename... Arguments>
constexpr std::size_t argumentBytes(Result(PINPAD_CALL *)(Arguments...)) {
    return (std::size_t{0} + ... + ((sizeof(Arguments) + SLOT - 1) / SLOT * SLOT));
}

static_assert(argumentBytes(PP_Abort) == 0);
static_assert(argumentBytes(PP_Close) == 4);
static_assert(argumentBytes(PP_CloseExtended) == 8);
static_assert(argumentBytes(PP_Open) == 8);
static_assert(argumentBytes(abecsGetClearData) == 16);
static_assert(argumentBytes(abecsGetClearDataResponse) == 8);
static_assert(argumentBytes(pcl_exception_set_uncaught_handler) == 4);
static_assert(argumentBytes(taviskCXSurveys_Get) == 4);
static_assert(argumentBytes(taviskCXSurveys_Start) == 40);
static_assert(argumentBytes(taviskCXSurveys_Stop) == 0);
static_assert(argumentBytes(taviskMF_Activate) == 8);
static_assert(argumentBytes(taviskMF_Authenticate) == 20);
static_assert(argumentBytes(taviskMF_BlockConfigGet) == 12);
static_assert(argumentBytes(taviskMF_BlockConfigSet) == 20);
static_assert(argumentBytes(taviskMF_KeyChange) == 16);
static_assert(argumentBytes(taviskMF_ReadWrite) == 24);
static_assert(argumentBytes(taviskMF_ValueCommand) == 24);
static_assert(argumentBytes(taviskQRCode) == 20);
static_assert(argumentBytes(taviskQRCode_response) == 4);
static_assert(argumentBytes(taviskSURVEY_Get) == 4);
static_assert(argumentBytes(taviskSURVEY_Start) == 28);
static_assert(argumentBytes(taviskSURVEY_Stop) == 0);

} // namespace
