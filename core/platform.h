#pragma once

/// Calling convention and visibility of what the library exports.
#if defined(_WIN32)
#define PCL_CALL __stdcall
#define PCL_EXPORT __declspec(dllexport)
#else
#define PCL_CALL
#define PCL_EXPORT __attribute__((visibility("default")))
#endif

#if defined(__MINGW32__)
#define PCL_PRINTF(formatIndex, firstArgument)                                                     \
    __attribute__((format(gnu_printf, formatIndex, firstArgument)))
#else
#define PCL_PRINTF(formatIndex, firstArgument)                                                     \
    __attribute__((format(printf, formatIndex, firstArgument)))
#endif
