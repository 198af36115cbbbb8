#pragma once

#include <chrono>

/// Ctrl-C. The first one sets a flag, which commands look at while they wait; the second one ends
/// the process at once with status 130.

namespace cli {

/// Takes over Ctrl-C, the request to terminate and the loss of the terminal for the whole process.
void watchForInterrupts();

bool isInterrupted();

/// Throws Interrupted when Ctrl-C has come.
void throwIfInterrupted();

/// Forgets the Ctrl-C that has come.
void forgetInterrupt();

/// Sleeps; Ctrl-C ends it early.
void sleepUnlessInterrupted(std::chrono::milliseconds time);

/// While one of these lives, Ctrl-C never ends the process: it is for the prompt, where it drops
/// the line.
class PromptInterrupts {
public:
    PromptInterrupts();
    ~PromptInterrupts();
    PromptInterrupts(const PromptInterrupts &) = delete;
    PromptInterrupts &operator=(const PromptInterrupts &) = delete;
};

/// While one of these lives, threads that are started leave Ctrl-C to the others.
class InterruptsElsewhere {
public:
    InterruptsElsewhere();
    ~InterruptsElsewhere();
    InterruptsElsewhere(const InterruptsElsewhere &) = delete;
    InterruptsElsewhere &operator=(const InterruptsElsewhere &) = delete;
};

} // namespace cli
