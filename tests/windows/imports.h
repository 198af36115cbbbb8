/* Puts functions of a test in the place of those that a module imports. */
#ifndef PINPAD_TESTS_WINDOWS_IMPORTS_H
#define PINPAD_TESTS_WINDOWS_IMPORTS_H

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

/* Every call that the module makes of the function now goes to the other one, which is given the
 * function's own arguments. False when the module does not import the function. */
BOOL replace_import(HMODULE module, const char *function, FARPROC other);

#endif
