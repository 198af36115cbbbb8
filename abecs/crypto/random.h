#pragma once

#include <cstddef>

/// Random numbers of the operating system.

/// Fills the buffer, by a call that needs no open file. False when the system has none to give:
/// there is no other source to fall back on, and the buffer's content is then of no use.
bool pcl_random_fill(void *buffer, std::size_t size);

/// Sees to it that the big-number library draws from the system and leaves nothing open there when
/// this library is unloaded. Running it again changes nothing.
void pcl_random_serve_numbers();
