/* Puts functions of a test in the place of those that a module imports. */
#ifndef PINPAD_TESTS_WINDOWS_IMPORTS_H
#define PINPAD_TESTS_WINDOWS_IMPORTS_H

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every call that the module makes of the function now goes to the other one, which is given the
 * function's own arguments. Returns where they went before; null when the module does not import
 * the function. */
FARPROC replace_import(HMODULE module, const char *function, FARPROC other);

#ifdef __cplusplus
}
#endif

#endif
