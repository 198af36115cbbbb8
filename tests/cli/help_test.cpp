#include "cli/command.h"
#include "tests/cli/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

using testing::HasSubstr;
using tool::Arguments;
using tool::Outcome;
using tool::run;

// The words of each command, and none for the tool as a whole.
std::vector<Arguments> commands() {
    std::vector<Arguments> all = {{}};
    for (const cli::CommandPtr &command : cli::makeCommands()) {
        const std::string name = command->name();
        const std::size_t blank = name.find(' ');
        all.push_back(blank == std::string::npos
                          ? Arguments{name}
                          : Arguments{name.substr(0, blank), name.substr(blank + 1)});
    }
    return all;
}

std::string helpOf(Arguments command) {
    command.emplace_back("--help");
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

std::set<std::string> longOptionsIn(const std::string &text) {
    static const std::regex option("--[a-z][a-z-]*");
    std::set<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), option), end; at != end; ++at) {
        found.insert(at->str());
    }
    return found;
}

// The options that any help lists.
std::set<std::string> optionsOfHelp() {
    static const std::set<std::string> all = [] {
        std::set<std::string> found;
        for (const Arguments &command : commands()) {
            found.merge(longOptionsIn(helpOf(command)));
        }
        return found;
    }();
    return all;
}

std::string cliFile(const std::string &name) {
    return tool::readFile(std::string(PINPAD_CLI_DIR) + "/" + name);
}

// The manual page without its markup.
std::string manual() {
    return std::regex_replace(cliFile("pinpad.1"), std::regex("\\\\-"), "-");
}

TEST(Help, OfEveryCommandHasAnExample) {
    for (const Arguments &command : commands()) {
        EXPECT_THAT(helpOf(command), testing::ContainsRegex("Examples?:\n  p[ri]"))
            << command.size();
    }
}

TEST(Help, ListsEveryCommand) {
    const std::string help = helpOf({});
    for (const Arguments &command : commands()) {
        if (!command.empty()) {
            EXPECT_THAT(help, HasSubstr("\n  " + command.front() + " "));
        }
    }
}

TEST(Help, ExamplesAreTakenByTheTool) {
    for (const cli::CommandPtr &command : cli::makeCommands()) {
        EXPECT_THAT(command->example(), HasSubstr(" " + command->name()));
    }
}

TEST(Help, TheManualPageTellsOfEveryOptionAndOfNoOther) {
    EXPECT_EQ(longOptionsIn(manual()), optionsOfHelp());
}

TEST(Help, TheManualPageTellsOfEveryCommand) {
    const std::string text = manual();
    for (const cli::CommandPtr &command : cli::makeCommands()) {
        const std::regex entry("\n\\.BI? \"?" + command->name() + "\"?[ \n]");
        EXPECT_TRUE(std::regex_search(text, entry)) << command->name();
    }
}

TEST(Help, TheCompletionKnowsEveryOptionAndNoOther) {
    EXPECT_EQ(longOptionsIn(cliFile("completion/pinpad.bash")), optionsOfHelp());
}

TEST(Help, TheCompletionKnowsEveryCommand) {
    const std::string text = cliFile("completion/pinpad.bash");
    for (const Arguments &command : commands()) {
        for (const std::string &word : command) {
            EXPECT_TRUE(std::regex_search(text, std::regex("\\b" + word + "\\b"))) << word;
        }
    }
}

} // namespace
