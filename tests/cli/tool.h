#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tool {

using Arguments = std::vector<std::string>;

/// The outcome of a run of the tool.
struct Outcome {
    int exit = -1; ///< -1 when a signal ended it
    std::string out;
    std::string err;
    std::chrono::milliseconds time{0};
};

/// Which of the tool's streams are a terminal; the others are pipes.
enum class Terminal { None, Error, All };

/// The tool in a process of its own, which ends with this object.
class Tool {
public:
    explicit Tool(const Arguments &arguments, Terminal terminal = Terminal::None);
    ~Tool();
    Tool(const Tool &) = delete;
    Tool &operator=(const Tool &) = delete;

    /// Types, or writes to standard input.
    void type(const std::string &text);
    /// Closes the reading end of standard output.
    void closeOutput();
    void signal(int number);

    /// Waits until standard output (what the terminal shows, when all is one) has this text after
    /// the one last waited for; throws after some time.
    void waitForOutput(const std::string &text);

    /// Waits for the end; throws after some time.
    Outcome finish();

private:
    void readSome(std::chrono::milliseconds wait);

    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
    int m_error = -1;
    Outcome m_outcome;
    std::size_t m_seen = 0;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// Runs the tool to its end.
Outcome run(const Arguments &arguments, const std::string &input = "");

/// A file that is removed with this object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string &content = "", const std::string &suffix = "");
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return m_path; }
    std::string content() const;

private:
    std::string m_path;
};

/// A temporary folder, removed with what is in it.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    const std::string &path() const { return m_path; }
    void write(const std::string &name, const std::string &content) const;

    /// Runs a line of a shell in the folder; the tool is `pinpad` there.
    Outcome shell(const std::string &line) const;

private:
    std::string m_path = "/tmp/pinpad-cli-test-XXXXXX";
};

std::string readFile(const std::string &path);

std::vector<std::string> linesOf(const std::string &text);

/// A trace without what differs from run to run: the public key of a secure open, and the check
/// value over it.
std::string settledTrace(const std::string &trace);

} // namespace tool
