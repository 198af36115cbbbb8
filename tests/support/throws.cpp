#include "tests/support/throws.h"

#include <typeinfo>

namespace {

thread_local std::size_t count = 0;

} // namespace

// The linker sends the program's throws here and __real___cxa_throw to the runtime's.
extern "C" [[noreturn]] void __real___cxa_throw(void *thrown, std::type_info *type,
                                                void (*destroy)(void *));
extern "C" [[noreturn]] void __wrap___cxa_throw(void *thrown, std::type_info *type,
                                                void (*destroy)(void *));

extern "C" void __wrap___cxa_throw(void *thrown, std::type_info *type, void (*destroy)(void *)) {
    ++count;
    __real___cxa_throw(thrown, type, destroy);
}

std::size_t throwsSoFar() {
    return count;
}
