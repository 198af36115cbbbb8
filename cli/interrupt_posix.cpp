#include "cli/interrupt_posix.h"

#include "cli/exit_status.h"
#include "cli/interrupt.h"
#include "cli/problem.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace cli {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<bool> atPrompt{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler needs it");

// A byte lies in this pipe from the first Ctrl-C on, so that a wait which begins after it does not
// miss it.
int wakeRead = -1;
int wakeWrite = -1;

extern "C" void onInterrupt(int) {
    const int savedErrno = errno;
    if (interrupted.exchange(true)) {
        if (!atPrompt.load()) {
            ::_exit(static_cast<int>(ExitStatus::Interrupted));
        }
    } else {
        const char wake = '!';
        [[maybe_unused]] const ssize_t written = ::write(wakeWrite, &wake, 1);
    }
    errno = savedErrno;
}

constexpr int INTERRUPTS[] = {SIGINT, SIGTERM, SIGHUP};

sigset_t interruptSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : INTERRUPTS) {
        sigaddset(&set, signal);
    }
    return set;
}

// Takes a signal over, unless whoever started the process had it ignored, as nohup does.
void take(int signal, const struct sigaction &action) {
    struct sigaction previous {};
    ::sigaction(signal, nullptr, &previous);
    if (previous.sa_handler != SIG_IGN) {
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace

void watchForInterrupts() {
    int ends[2];
    if (::pipe(ends) != 0) {
        return;
    }
    for (const int fd : ends) {
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        ::fcntl(fd, F_SETFL, O_NONBLOCK);
    }
    wakeRead = ends[0];
    wakeWrite = ends[1];
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    action.sa_mask = interruptSignals();
    for (const int signal : INTERRUPTS) {
        take(signal, action);
    }
    // When the reader of the output has gone, the session must still be closed.
    ::signal(SIGPIPE, SIG_IGN);
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
    char byte = 0;
    while (::read(wakeRead, &byte, 1) > 0) {
    }
    interrupted.store(false);
}

void sleepUnlessInterrupted(std::chrono::milliseconds time) {
    pollfd wake{wakeRead, POLLIN, 0};
    ::poll(&wake, 1, static_cast<int>(time.count()));
}

InputReady waitForInput(int fd) {
    pollfd waited[2] = {{fd, POLLIN, 0}, {wakeRead, POLLIN, 0}};
    for (;;) {
        const int ready = ::poll(waited, 2, -1);
        if (isInterrupted()) {
            return InputReady::Interrupted;
        }
        if (ready > 0 && waited[0].revents != 0) {
            return InputReady::Yes;
        }
    }
}

PromptInterrupts::PromptInterrupts() {
    atPrompt.store(true);
}

PromptInterrupts::~PromptInterrupts() {
    atPrompt.store(false);
}

InterruptsElsewhere::InterruptsElsewhere() {
    const sigset_t set = interruptSignals();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

InterruptsElsewhere::~InterruptsElsewhere() {
    const sigset_t set = interruptSignals();
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

} // namespace cli
