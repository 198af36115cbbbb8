#include "tests/core/child.h"

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void runBody(const std::function<void()> &body, int output) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    dup2(output, STDOUT_FILENO);
    close(output);
    body();
    std::fflush(stdout);
    _exit(0);
}

std::string readAll(int descriptor) {
    std::string text;
    char chunk[512];
    for (;;) {
        const ssize_t count = read(descriptor, chunk, sizeof chunk);
        if (count > 0) {
            text.append(chunk, static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return text;
        }
    }
}

} // namespace

ChildResult runInChild(const std::function<void()> &body, ChildOutput kind) {
    int ends[2] = {-1, -1};
    std::FILE *file = nullptr;
    if (kind == ChildOutput::Pipe) {
        if (pipe(ends) != 0) {
            throw std::runtime_error("pipe");
        }
    } else {
        file = std::tmpfile();
        if (file == nullptr) {
            throw std::runtime_error("tmpfile");
        }
        ends[0] = dup(fileno(file));
        ends[1] = dup(fileno(file));
    }

    std::fflush(stdout);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("fork");
    }
    if (child == 0) {
        close(ends[0]);
        runBody(body, ends[1]);
    }
    close(ends[1]);

    std::string output;
    if (kind == ChildOutput::Pipe) {
        output = readAll(ends[0]);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (kind == ChildOutput::File) {
        lseek(ends[0], 0, SEEK_SET);
        output = readAll(ends[0]);
        std::fclose(file);
    }
    close(ends[0]);
    return {WIFEXITED(status), WEXITSTATUS(status), WIFSIGNALED(status), WTERMSIG(status), output};
}
