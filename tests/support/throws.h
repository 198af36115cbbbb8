#pragma once

#include <cstddef>

/// How many exceptions this thread has thrown so far. A test program that uses this compiles
/// throws.cpp and links with -Wl,--wrap=__cxa_throw.
std::size_t throwsSoFar();
