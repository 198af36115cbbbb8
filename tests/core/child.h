#pragma once

#include <functional>
#include <string>

/// How a child process ended.
struct ChildResult {
    bool exited;
    int exitCode;
    bool signalled;
    int signal;
    std::string output;
};

enum class ChildOutput { Pipe, File };

/// Runs the body in a child whose standard output is a pipe or a file, and gives back what it wrote
/// there and how it ended. A body that returns ends the child with exit code 0.
ChildResult runInChild(const std::function<void()> &body, ChildOutput kind = ChildOutput::Pipe);
