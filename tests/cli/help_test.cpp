#include "cli/command.h"
#include "sim/simulator.h"
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

// The lines of a shell that a help gives as examples.
std::vector<std::string> examplesIn(const std::string &help) {
    std::vector<std::string> examples;
    bool inExamples = false;
    for (const std::string &line : tool::linesOf(help)) {
        if (line == "Example:" || line == "Examples:") {
            inExamples = true;
        } else if (inExamples && line.rfind("  ", 0) == 0) {
            examples.push_back(line.substr(2));
        } else {
            inExamples = false;
        }
    }
    return examples;
}

// What stands on the PIN pad's side before an example: a customer, media and a card with a value.
constexpr char EXAMPLE_DEVICE[] = "capture * keys 12345 enter\n"
                                  "event * key enter\n"
                                  "qrcode * enter\n"
                                  "survey * press 1\n"
                                  "cxsurvey * press 1 enter\n"
                                  "media LOGO text \"a\"\n"
                                  "media INTRO text \"a\"\n"
                                  "media OFFER text \"b\"\n"
                                  "media BYE text \"c\"\n"
                                  "mifare uid 04A1B2C3 value 4 1000\n";

TEST(Help, EveryExampleWorks) {
    const std::regex port("ttyUSB0");
    const tool::Folder folder;
    folder.write("logo.png", "an image");
    folder.write("morning.pin", "display 'BOM DIA'\ncapture --max 11\n");
    for (const Arguments &command : commands()) {
        const std::vector<std::string> examples = examplesIn(helpOf(command));
        EXPECT_FALSE(examples.empty()) << command.back();
        for (const std::string &example : examples) {
            const sim::Simulator device(EXAMPLE_DEVICE);
            const Outcome outcome = folder.shell(std::regex_replace(example, port, device.port()));
            EXPECT_EQ(outcome.exit, 0) << example << "\n" << outcome.err;
        }
    }
}

TEST(Help, EveryExampleIsOfItsCommand) {
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
