#include "cli/interrupt.h"
#include "cli/lines.h"
#include "cli/problem.h"
#include "cli/prompt.h"
#include "cli/terminal.h"

#include <iostream>

namespace cli {

namespace {

// For systems without a library that edits lines.
class PlainPrompt : public Prompt {
public:
    explicit PlainPrompt(std::string text) : m_text(std::move(text)) {}

    std::optional<std::string> ask() override {
        const PromptInterrupts guard;
        std::cout << m_text << std::flush;
        try {
            return m_lines.next();
        } catch (const Interrupted &) {
            forgetInterrupt();
            std::cout << std::endl;
            return "";
        }
    }

private:
    std::string m_text;
    Lines m_lines{readInput};
};

} // namespace

std::unique_ptr<Prompt> makePrompt(const std::string &text, std::vector<std::string>) {
    return std::make_unique<PlainPrompt>(text);
}

} // namespace cli
