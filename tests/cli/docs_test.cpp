#include "tests/cli/tool.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr char BLOCK_BEGIN[] = "```console";
constexpr char BLOCK_END[] = "```";
constexpr char COMMAND[] = "$ ";
constexpr char SHOW_FILE[] = "$ cat ";

// One command of the document and what it says the command prints.
struct Step {
    std::string command;
    std::string output;
};

bool begins(const std::string &text, const std::string &with) {
    return text.rfind(with, 0) == 0;
}

std::vector<Step> stepsOf(const std::string &document) {
    std::vector<Step> steps;
    bool inBlock = false;
    for (const std::string &line : tool::linesOf(document)) {
        if (!inBlock) {
            inBlock = line == BLOCK_BEGIN;
        } else if (line == BLOCK_END) {
            inBlock = false;
        } else if (begins(line, COMMAND)) {
            steps.push_back({line, ""});
        } else if (!steps.empty()) {
            steps.back().output += line + "\n";
        }
    }
    return steps;
}

// The reader's folder, in which files that the document shows are made.
class Folder {
public:
    Folder() {
        if (::mkdtemp(m_path.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    void write(const std::string &name, const std::string &content) const {
        std::ofstream(m_path + "/" + name) << content;
    }

    std::string run(const std::string &command) const {
        const std::string line = "cd " + m_path +
                                 " && PATH=" + fs::path(PINPAD_TOOL).parent_path().string() +
                                 ":$PATH && { " + command + "; } 2>&1";
        std::FILE *pipe = ::popen(line.c_str(), "r");
        std::string output;
        std::array<char, 4096> bytes;
        while (const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), pipe)) {
            output.append(bytes.data(), count);
        }
        ::pclose(pipe);
        return output;
    }

private:
    std::string m_path = "/tmp/pinpad-cli-docs-XXXXXX";
};

// Which pseudo terminal the simulated PIN pad gets is the system's choice.
std::string withoutNumbers(const std::string &text) {
    return std::regex_replace(text, std::regex("/dev/pts/[0-9]+"), "/dev/pts/N");
}

TEST(Documentation, ShowsWhatTheToolPrints) {
    const std::vector<Step> steps = stepsOf(tool::readFile(PINPAD_CLI_DOCUMENT));
    ASSERT_GE(steps.size(), 10U);
    const Folder folder;
    for (const Step &step : steps) {
        if (begins(step.command, SHOW_FILE)) {
            folder.write(step.command.substr(std::string(SHOW_FILE).size()), step.output);
        } else {
            const std::string printed = folder.run(step.command.substr(2));
            EXPECT_EQ(withoutNumbers(printed), withoutNumbers(step.output)) << step.command;
        }
    }
}

} // namespace
