#pragma once

#include <cstdint>

/// For tests and soaks that provoke many timeouts: from now on, reads of the whole process that
/// begin with a timeout of T tenths of a second wait T * 100 / divisor milliseconds. 1, the initial
/// value, changes nothing. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'divisor' is 0". May be called from
/// any thread.
void pcl_serial_set_time_divisor(std::uint32_t divisor);

std::uint32_t pcl_serial_time_divisor();
