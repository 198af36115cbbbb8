#pragma once

#include <cstddef>

/// Makes the library run out of memory on purpose. A test program that uses this compiles
/// allocations.cpp and links with -Wl,--wrap=malloc.
///
/// While an object lives, the calls of malloc in this thread are counted and the chosen one fails.
class FailingAllocation {
public:
    /// `failing` is the number of the call to fail, from 1; with 0 none fails.
    explicit FailingAllocation(std::size_t failing);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation &) = delete;
    FailingAllocation &operator=(const FailingAllocation &) = delete;

    /// How many calls there were so far.
    std::size_t calls() const;
};
