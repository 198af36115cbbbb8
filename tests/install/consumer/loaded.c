/* A host that loads the library when it runs. usage: loaded LIBRARY PORT */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>

typedef int32_t (*Open)(const char *portName, uint8_t secure);
typedef int32_t (*Close)(const char *message);

int main(int argc, char **argv) {
    void *library = argc == 3 ? dlopen(argv[1], RTLD_NOW) : NULL;
    if (library == NULL) {
        fprintf(stderr, "%s\n", argc == 3 ? dlerror() : "usage: loaded LIBRARY PORT");
        return 2;
    }
    Open open = (Open)dlsym(library, "PP_Open");
    Close close = (Close)dlsym(library, "PP_Close");
    const int done = open != NULL && close != NULL && open(argv[2], 0) == 0 && close("BYE") == 0;
    dlclose(library);
    return done ? 0 : 1;
}
