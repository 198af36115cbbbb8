// Loads the library into a process that has nothing else, opens a session and closes it, and tells
// what each step takes. A process can tell the first load only: run it once a round.
//
// usage: load_library LIBRARY PORT

#include "bench/stats.h"

#include <cstdint>
#include <cstdio>

#include <dlfcn.h>
#include <sys/resource.h>

namespace {

using Open = std::int32_t (*)(const char *port, std::uint8_t secure);
using Close = std::int32_t (*)(const char *message);

long peakKibibytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s LIBRARY PORT\n", argv[0]);
        return 2;
    }
    const long before = peakKibibytes();
    void *library = nullptr;
    const double load = bench::seconds(bench::Clock::WALL,
                                       [&] { library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL); });
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", ::dlerror());
        return 1;
    }
    const long loaded = peakKibibytes();
    const auto open = reinterpret_cast<Open>(::dlsym(library, "PP_Open"));
    const auto close = reinterpret_cast<Close>(::dlsym(library, "PP_Close"));
    std::int32_t status = 0;
    const double session = bench::seconds(bench::Clock::WALL, [&] { status = open(argv[2], 0); });
    if (status != 0 || close("") != 0) {
        std::fputs("The session failed.\n", stderr);
        return 1;
    }
    std::printf("load %.3f ms  open %.3f ms  peak: process %ld KiB, loaded +%ld, session +%ld\n",
                load * 1e3, session * 1e3, before, loaded - before, peakKibibytes() - loaded);
    return 0;
}
