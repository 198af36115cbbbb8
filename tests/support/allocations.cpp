#include "tests/support/allocations.h"

namespace {

struct Plan {
    bool active = false;
    std::size_t failing = 0;
    std::size_t calls = 0;
};

thread_local Plan plan;

} // namespace

// The linker sends the program's malloc here and __real_malloc to the runtime's.
extern "C" void *__real_malloc(std::size_t size);
extern "C" void *__wrap_malloc(std::size_t size);

extern "C" void *__wrap_malloc(std::size_t size) {
    if (plan.active && ++plan.calls == plan.failing) {
        return nullptr;
    }
    return __real_malloc(size);
}

FailingAllocation::FailingAllocation(std::size_t failing) {
    plan = {true, failing, 0};
}

FailingAllocation::~FailingAllocation() {
    plan = {};
}

std::size_t FailingAllocation::calls() const {
    return plan.calls;
}
