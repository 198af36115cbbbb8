#pragma once

#include <cstddef>
#include <functional>

/// Runs code on a thread of its own while every allocation of that thread through malloc or
/// operator new is counted and one of them fails. A test program that uses this links with the
/// options of CMakeLists.txt beside it.
namespace heap {

struct Watched {
    std::size_t calls = 0; ///< allocations asked for
    long kept = 0;         ///< allocated and not freed when the thread is over
};

/// `failing` is the number of the allocation that fails, from 1; with 0 none does. The body must
/// not let anything out.
Watched watch(std::size_t failing, const std::function<void()> &body);

} // namespace heap
