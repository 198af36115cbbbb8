// The public header is plain C++11 and needs no other before it; the functions have C linkage.
#include <pinpad/pinpad.h>

#include <type_traits>

extern "C" {
static_assert(std::is_same<decltype(&PP_Open), int32_t (*)(const char *, uint8_t)>::value,
              "PP_Open");
static_assert(std::is_same<decltype(&abecsGetClearData),
                           void (*)(uint16_t, uint8_t, uint8_t, uint8_t)>::value,
              "abecsGetClearData");
static_assert(std::is_same<PinpadUncaughtHandler, void (*)(int32_t, const char *)>::value,
              "handler");
}

// Included once more, it declares nothing twice.
#include <pinpad/pinpad.h>
