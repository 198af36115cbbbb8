#include "serial/time_divisor.h"

#include "core/exception.h"

#include <atomic>

namespace {

std::atomic<std::uint32_t> currentDivisor{1};

} // namespace

void pcl_serial_set_time_divisor(std::uint32_t divisor) {
    if (divisor == 0) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'divisor' is 0");
        return;
    }
    currentDivisor.store(divisor);
}

std::uint32_t pcl_serial_time_divisor() {
    return currentDivisor.load();
}
