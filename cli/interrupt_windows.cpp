#include "cli/exit_status.h"
#include "cli/interrupt.h"
#include "cli/problem.h"

#include <atomic>

#include <windows.h>

namespace cli {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<bool> atPrompt{false};

// Set from the first Ctrl-C on. The system calls the handler on a thread of its own.
HANDLE wakeEvent = nullptr;

BOOL WINAPI onInterrupt(DWORD) {
    if (interrupted.exchange(true) && !atPrompt.load()) {
        ExitProcess(static_cast<UINT>(ExitStatus::Interrupted));
    }
    SetEvent(wakeEvent);
    return TRUE;
}

} // namespace

void watchForInterrupts() {
    wakeEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(onInterrupt, TRUE);
}

bool isInterrupted() {
    return interrupted.load();
}

void throwIfInterrupted() {
    if (isInterrupted()) {
        throw Interrupted{};
    }
}

void forgetInterrupt() {
    ResetEvent(wakeEvent);
    interrupted.store(false);
}

void sleepUnlessInterrupted(std::chrono::milliseconds time) {
    WaitForSingleObject(wakeEvent, static_cast<DWORD>(time.count()));
}

PromptInterrupts::PromptInterrupts() {
    atPrompt.store(true);
}

PromptInterrupts::~PromptInterrupts() {
    atPrompt.store(false);
}

InterruptsElsewhere::InterruptsElsewhere() = default;

InterruptsElsewhere::~InterruptsElsewhere() = default;

} // namespace cli
