#include "tests/cli/tool.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

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

// Which pseudo terminal the simulated PIN pad gets is the system's choice.
std::string withoutNumbers(const std::string &text) {
    return std::regex_replace(text, std::regex("/dev/pts/[0-9]+"), "/dev/pts/N");
}

TEST(Documentation, ShowsWhatTheToolPrints) {
    const std::vector<Step> steps = stepsOf(tool::readFile(PINPAD_CLI_DOCUMENT));
    ASSERT_GE(steps.size(), 10U);
    // The reader's folder, in which files that the document shows are made.
    const tool::Folder folder;
    for (const Step &step : steps) {
        if (begins(step.command, SHOW_FILE)) {
            folder.write(step.command.substr(std::string(SHOW_FILE).size()), step.output);
        } else {
            const std::string printed =
                folder.shell("{ " + step.command.substr(2) + "; } 2>&1").out;
            EXPECT_EQ(withoutNumbers(printed), withoutNumbers(step.output)) << step.command;
        }
    }
}

} // namespace
