/* What a process holds on to. */
#ifndef PINPAD_TESTS_WINDOWS_RESOURCES_H
#define PINPAD_TESTS_WINDOWS_RESOURCES_H

/* Runs it so many times again and checks that neither a handle nor a byte has stayed. Runtimes keep
 * a spare for each thread that was there at once, so that it may be a later round that shows it;
 * what is lost with each call is lost in all of them. */
void resources_check_flat(const char *what, void (*run)(int times), int times);

#endif
