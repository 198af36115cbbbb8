#include "serial/interrupt.h"

#include "serial/port_win32.h"

namespace {

HANDLE handleOf(std::intptr_t signal) {
    return reinterpret_cast<HANDLE>(signal);
}

} // namespace

PclInterrupt::PclInterrupt()
    : m_signal(reinterpret_cast<std::intptr_t>(CreateEventA(nullptr, TRUE, FALSE, nullptr))) {}

PclInterrupt::~PclInterrupt() {
    if (m_signal != 0) {
        CloseHandle(handleOf(m_signal));
    }
}

void PclInterrupt::raise() {
    m_raised.store(true);
    if (m_signal != 0) {
        SetEvent(handleOf(m_signal));
    }
}
