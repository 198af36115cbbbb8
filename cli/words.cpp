#include "cli/words.h"

#include "cli/problem.h"

namespace cli {

namespace {

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

class WordReader {
public:
    explicit WordReader(std::string_view line) : m_rest(line) {}

    // Moves to the next word; false at the end of the line or at a comment.
    bool findWord() {
        while (!m_rest.empty() && isBlank(m_rest.front())) {
            m_rest.remove_prefix(1);
        }
        return !m_rest.empty() && m_rest.front() != '#';
    }

    std::string readWord() {
        std::string word;
        while (!m_rest.empty() && !isBlank(m_rest.front())) {
            const char character = take();
            if (character == '\'') {
                readSingleQuoted(word);
            } else if (character == '"') {
                readDoubleQuoted(word);
            } else {
                word += character == '\\' ? takeEscaped() : character;
            }
        }
        return word;
    }

private:
    char take() {
        const char character = m_rest.front();
        m_rest.remove_prefix(1);
        return character;
    }

    char takeEscaped() {
        if (m_rest.empty()) {
            throw UsageError("The line ends with a backslash.");
        }
        return take();
    }

    char takeQuoted(char quote) {
        if (m_rest.empty()) {
            throw UsageError(std::string("A quote is not closed: ") + quote);
        }
        return take();
    }

    void readSingleQuoted(std::string &word) {
        for (char character = takeQuoted('\''); character != '\''; character = takeQuoted('\'')) {
            word += character;
        }
    }

    void readDoubleQuoted(std::string &word) {
        for (char character = takeQuoted('"'); character != '"'; character = takeQuoted('"')) {
            const bool escapes = character == '\\' && !m_rest.empty() &&
                                 (m_rest.front() == '"' || m_rest.front() == '\\');
            word += escapes ? take() : character;
        }
    }

    std::string_view m_rest;
};

} // namespace

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    WordReader reader(line);
    while (reader.findWord()) {
        words.push_back(reader.readWord());
    }
    return words;
}

} // namespace cli
