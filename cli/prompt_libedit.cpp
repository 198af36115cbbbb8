#include "cli/interrupt.h"
#include "cli/interrupt_posix.h"
#include "cli/prompt.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cwchar>
#include <iostream>

#include <histedit.h>
#include <unistd.h>

namespace cli {

namespace {

constexpr int HISTORY_SIZE = 500;

class EditedPrompt : public Prompt {
public:
    EditedPrompt(std::string text, std::vector<std::string> words)
        : m_text(std::move(text)), m_words(std::move(words)) {
        // The library reads characters as the terminal writes them.
        std::setlocale(LC_CTYPE, "");
        HistEvent event{};
        history(m_history, &event, H_SETSIZE, HISTORY_SIZE);
        history(m_history, &event, H_SETUNIQUE, 1);
        el_set(m_edit, EL_CLIENTDATA, this);
        el_set(m_edit, EL_PROMPT, &EditedPrompt::promptText);
        el_set(m_edit, EL_EDITOR, "emacs");
        el_set(m_edit, EL_HIST, history, m_history);
        el_wset(m_edit, EL_GETCFN, &EditedPrompt::readCharacter);
        // Wide: the library never frees the copies that it makes of narrow names.
        el_wset(m_edit, EL_ADDFN, L"complete-word", L"Complete the word", &EditedPrompt::complete);
        el_set(m_edit, EL_BIND, "^I", "complete-word", nullptr);
    }
    ~EditedPrompt() override {
        el_end(m_edit);
        history_end(m_history);
    }
    EditedPrompt(const EditedPrompt &) = delete;
    EditedPrompt &operator=(const EditedPrompt &) = delete;

    std::optional<std::string> ask() override {
        const PromptInterrupts guard;
        int length = 0;
        // The library shows the prompt before it takes over the terminal, and would lose a Ctrl-D
        // typed in between.
        el_set(m_edit, EL_PREP_TERM, 1);
        const char *typed = el_gets(m_edit, &length);
        if (isInterrupted()) {
            forgetInterrupt();
            el_reset(m_edit);
            std::cout << "^C" << std::endl;
            return "";
        }
        if (typed == nullptr || length <= 0) {
            std::cout << std::endl;
            return std::nullopt;
        }
        std::string line(typed, static_cast<std::size_t>(length));
        line.erase(line.find_last_not_of("\r\n") + 1);
        if (!line.empty()) {
            HistEvent event{};
            history(m_history, &event, H_ENTER, line.c_str());
        }
        return line;
    }

private:
    static EditedPrompt &of(EditLine *edit) {
        void *self = nullptr;
        el_get(edit, EL_CLIENTDATA, &self);
        return *static_cast<EditedPrompt *>(self);
    }

    static char *promptText(EditLine *edit) { return of(edit).m_text.data(); }

    // Reads one character, and gives up on Ctrl-C, which the library itself would read on after.
    static int readCharacter(EditLine *, wchar_t *out) {
        std::mbstate_t state{};
        for (;;) {
            if (waitForInput(STDIN_FILENO) == InputReady::Interrupted) {
                errno = EINTR;
                return -1;
            }
            char byte = 0;
            const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
            if (count <= 0) {
                return static_cast<int>(count);
            }
            const std::size_t used = std::mbrtowc(out, &byte, 1, &state);
            if (used == static_cast<std::size_t>(-1)) {
                *out = static_cast<wchar_t>(static_cast<unsigned char>(byte));
                return 1;
            }
            if (used != static_cast<std::size_t>(-2)) {
                return 1;
            }
        }
    }

    // Adds what all words that begin like the one before the cursor have in common, or lists them.
    static unsigned char complete(EditLine *edit, int) {
        const LineInfo *info = el_line(edit);
        const std::string before(info->buffer, info->cursor);
        const std::string begin = before.substr(before.find_last_of(' ') + 1);
        const std::vector<std::string> found = completionsOf(begin, of(edit).m_words);
        if (found.empty()) {
            return CC_ERROR;
        }
        std::string common = found.front();
        for (const std::string &word : found) {
            const auto differs =
                std::mismatch(common.begin(), common.end(), word.begin(), word.end());
            common.erase(differs.first, common.end());
        }
        std::string added = common.substr(begin.size());
        if (found.size() == 1) {
            added += ' ';
        }
        if (!added.empty()) {
            el_insertstr(edit, added.c_str());
            return CC_REFRESH;
        }
        std::cout << '\n';
        for (const std::string &word : found) {
            std::cout << word << "  ";
        }
        std::cout << std::endl;
        return CC_REDISPLAY;
    }

    std::string m_text;
    std::vector<std::string> m_words;
    History *m_history = history_init();
    EditLine *m_edit = el_init("pinpad", stdin, stdout, stderr);
};

} // namespace

std::unique_ptr<Prompt> makePrompt(const std::string &text, std::vector<std::string> words) {
    return std::make_unique<EditedPrompt>(text, std::move(words));
}

} // namespace cli
