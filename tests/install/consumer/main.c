/* A host of another project. usage: consumer PORT */
#include <pinpad/pinpad.h>

#include <stdio.h>

static void PINPAD_CALL on_failure(int32_t code, const char *message) {
    fprintf(stderr, "failure %d: %s\n", (int)code, message);
}

int main(int argc, char **argv) {
    pcl_exception_set_uncaught_handler(on_failure);
    return argc == 2 && PP_Open(argv[1], 0) == PINPAD_OK && PP_Close("BYE") == PINPAD_OK ? 0 : 1;
}
