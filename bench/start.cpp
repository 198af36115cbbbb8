#include "abecs/open.h"
#include "bench/device.h"
#include "bench/stats.h"

#include "abecs/commands/display.h"
#include "abecs/pinpad.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include <dlfcn.h>
#include <malloc.h>

namespace bench {

namespace {

// The silence that ends the draining of the input.
constexpr auto DRAIN = std::chrono::milliseconds(500);

std::size_t bytesInUseAfter(AbecsPinpad *pinpad, std::size_t commands) {
    for (std::size_t i = 0; i < commands; ++i) {
        abecs_dex(pinpad, "A");
    }
    return mallinfo2().uordblks;
}

} // namespace

void measureStart(Table &table, const std::string &library) {
    Device device(Device::Speaks::ABECS);
    table.pair(
        {"Start",
         "opening the line, reset included",
         "the 0.5 s of silence alone",
         "s",
         {},
         {},
         {},
         0,
         ""},
        [&] {
            return seconds(Clock::WALL, [&] {
                const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
            });
        },
        [&] { return seconds(Clock::WALL, [] { std::this_thread::sleep_for(DRAIN); }); });
    if (!library.empty()) {
        table.pair(
            {"Start",
             "loading the library",
             "the same 0.5 s",
             "s",
             {},
             {},
             {},
             0,
             "dlopen and dlclose in a process that has LibTomCrypt already"},
            [&] {
                return seconds(Clock::WALL, [&] {
                    void *handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
                    if (handle == nullptr) {
                        throw std::runtime_error(::dlerror());
                    }
                    ::dlclose(handle);
                });
            },
            [] { return 0.5; });
    }
    const AbecsPinpadPtr pinpad(abecs_pinpad_create(device.port().c_str()));
    const auto few = static_cast<double>(bytesInUseAfter(pinpad.get(), 100));
    const auto many = static_cast<double>(bytesInUseAfter(pinpad.get(), 9900));
    table.add({"Memory",
               "heap after 10,000 commands",
               "heap after 100",
               "B",
               {many, many, many},
               {few, few, few},
               {many / few, many / few, many / few},
               1,
               "difference " + std::to_string(static_cast<long long>(many - few)) + " B"});
}

} // namespace bench
