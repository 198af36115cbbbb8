#include "tests/soak/usage.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#if defined(__SANITIZE_ADDRESS__)
#define SOAK_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SOAK_ADDRESS_SANITIZER
#endif
#endif

#if defined(SOAK_ADDRESS_SANITIZER)
#include <sanitizer/allocator_interface.h>
#endif

namespace soak {

namespace {

std::size_t heapInUse() {
#if defined(SOAK_ADDRESS_SANITIZER)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}

std::size_t residentBytes() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t openFiles() {
    const auto count = std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                     std::filesystem::directory_iterator());
    return static_cast<std::size_t>(count);
}

} // namespace

Usage measureUsage() {
    return {heapInUse(), residentBytes(), openFiles()};
}

} // namespace soak
