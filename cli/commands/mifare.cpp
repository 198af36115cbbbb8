#include "cli/commands/mifare.h"

#include "cli/help_format.h"
#include "cli/text.h"

#include <charconv>
#include <limits>

namespace cli {

namespace {

constexpr unsigned BLOCK_MAX = 9999;
constexpr unsigned FIRST_BYTE_MAX = 15;
constexpr unsigned COUNT_MAX = 256;
constexpr std::size_t KEY_DIGITS = 12;
constexpr std::size_t FLAGS_SIZE = 3;
constexpr std::size_t DIGITS_A_LINE = 32;

bool isHex(const std::string &text) {
    return text.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

// These texts do not repeat what was typed, which is nearly a key.
std::string keyDigits(const char *option, const std::string &text) {
    if (text.size() != KEY_DIGITS || !isHex(text)) {
        throw UsageError(std::string(option) +
                         " takes 12 hexadecimal digits, such as A0A1A2A3A4A5.");
    }
    return upperCase(text);
}

MifareKey readKey(const std::string &text) {
    const std::string upper = upperCase(text);
    const bool isMarked =
        upper.size() > 2 && (upper[0] == 'A' || upper[0] == 'B') && upper[1] == ':';
    if (!isMarked || upper.size() != KEY_DIGITS + 2 || !isHex(upper.substr(2))) {
        throw UsageError("--key takes A or B, a colon and 12 hexadecimal digits, such as "
                         "A:FFFFFFFFFFFF.");
    }
    return {upper[0], upper.substr(2)};
}

void declareNewKeys(CLI::App &app, std::string &keyA, std::string &keyB) {
    app.add_option("--key-a", keyA, "The new key A of the sector, 12 hexadecimal digits")
        ->type_name("HEX");
    app.add_option("--key-b", keyB, "The new key B of the sector, 12 hexadecimal digits")
        ->type_name("HEX");
}

std::string blockText(unsigned block) {
    return "Block " + std::to_string(block);
}

// Pairs of digits, a block of a card on each line.
std::vector<std::string> dump(const std::string &hex) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < hex.size(); at += 2) {
        if (at % DIGITS_A_LINE == 0) {
            lines.emplace_back();
        } else {
            lines.back() += ' ';
        }
        lines.back() += fromDeviceVisibly(hex.substr(at, 2));
    }
    return lines;
}

struct Operation {
    const char *word;
    char letter;
    bool hasAmount;
    bool hasTarget;
};

constexpr Operation OPERATIONS[] = {{"get", 'R', false, false},
                                    {"set", 'W', true, false},
                                    {"add", '+', true, true},
                                    {"subtract", '-', true, true},
                                    {"copy", '=', false, true}};

const Operation &findOperation(const std::string &word) {
    for (const Operation &operation : OPERATIONS) {
        if (word == operation.word) {
            return operation;
        }
    }
    throw UsageError("There is no operation '" + withoutKeys(word) +
                     "'. It is one of: get, set, add, subtract, copy.");
}

std::int32_t readAmount(const std::string &text, std::int32_t least) {
    std::int32_t amount = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, amount);
    if (text.empty() || error != std::errc() || stop != end || amount < least) {
        throw UsageError("The amount is a number of " + std::to_string(least) + " to 2147483647.");
    }
    return amount;
}

} // namespace

void MifareActivateCommand::run(Context &context) {
    const std::string serialNumber = MifareCard(context.device, context.settings).activate();
    context.output.result("Card " + fromDeviceVisibly(serialNumber) + ".",
                          Json{{"serial", fromDevice(serialNumber)}});
}

void MifareBlockCommand::declareArguments(CLI::App &app) {
    app.add_option("BLOCK", m_block, "Number of the block, 0 to 9999")
        ->check(upTo(BLOCK_MAX))
        ->type_name("")
        ->required();
    app.add_option("--key", m_keyText,
                   "Activate the card and prove this key of the sector first; without it the "
                   "session must have proved one")
        ->type_name("A|B:HEX");
}

void MifareBlockCommand::prepare() {
    if (!m_keyText.empty()) {
        m_key = readKey(m_keyText);
    }
}

MifareCard MifareBlockCommand::unlocked(Context &context) const {
    MifareCard card(context.device, context.settings);
    card.unlock(m_block, m_key);
    return card;
}

void MifareAuthCommand::prepare() {
    MifareBlockCommand::prepare();
    if (!key()) {
        throw UsageError("Give the key to prove with --key, such as A:FFFFFFFFFFFF.");
    }
}

void MifareAuthCommand::run(Context &context) {
    unlocked(context);
    context.output.result(blockText(block()) + " is open to key " + key()->letter + ".",
                          Json{{"block", block()}, {"key", std::string(1, key()->letter)}});
}

void MifareReadCommand::declareArguments(CLI::App &app) {
    MifareBlockCommand::declareArguments(app);
    app.add_option("--from", m_from, "First byte in the block, 0 to 15")
        ->check(upTo(FIRST_BYTE_MAX))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--count", m_count,
                   "How many bytes, 1 to 256; more than the block has come from the next ones")
        ->check(quietly(CLI::Range(1U, COUNT_MAX)))
        ->type_name("N")
        ->capture_default_str();
}

void MifareReadCommand::run(Context &context) {
    const std::string hex = unlocked(context).read(block(), m_from, m_count);
    context.output.lines(dump(hex), Json{{"block", block()},
                                         {"from", m_from},
                                         {"bytes", hex.size() / 2},
                                         {"data", fromDevice(hex)}});
}

void MifareWriteCommand::declareArguments(CLI::App &app) {
    MifareBlockCommand::declareArguments(app);
    app.add_option("HEX", m_data, "The bytes, two hexadecimal digits each, up to 256")
        ->type_name("")
        ->required();
    app.add_option("--from", m_from, "First byte in the block, 0 to 15")
        ->check(upTo(FIRST_BYTE_MAX))
        ->type_name("N")
        ->capture_default_str();
}

void MifareWriteCommand::prepare() {
    MifareBlockCommand::prepare();
    const std::size_t digits = m_data.size();
    if (digits == 0 || digits % 2 != 0 || digits / 2 > COUNT_MAX || !isHex(m_data)) {
        throw UsageError("The bytes to write are 1 to 256 pairs of hexadecimal digits.");
    }
    m_data = upperCase(m_data);
}

void MifareWriteCommand::run(Context &context) {
    const std::uint32_t written = unlocked(context).write(block(), m_from, m_data);
    context.output.result("Wrote " + std::to_string(written) + " bytes into block " +
                              std::to_string(block()) + ".",
                          Json{{"block", block()}, {"from", m_from}, {"bytes", written}});
}

void MifareValueCommand::declareArguments(CLI::App &app) {
    MifareBlockCommand::declareArguments(app);
    app.add_option("OPERATION", m_operation, "get, set N, add N, subtract N or copy")
        ->type_name("")
        ->required();
    app.add_option("N", m_amountText, "The value to set, or by how much to change it")
        ->type_name("");
    app.add_option("--to", m_to,
                   "Block that takes the result of add, subtract and copy; the same one when not "
                   "given")
        ->check(upTo(BLOCK_MAX))
        ->type_name("BLOCK");
}

void MifareValueCommand::prepare() {
    MifareBlockCommand::prepare();
    const Operation &operation = findOperation(m_operation);
    m_letter = operation.letter;
    if (operation.hasAmount == m_amountText.empty()) {
        throw UsageError(operation.hasAmount ? m_operation + " needs an amount."
                                             : m_operation + " takes no amount.");
    }
    if (operation.hasAmount) {
        m_amount = readAmount(
            m_amountText, operation.hasTarget ? 0 : std::numeric_limits<std::int32_t>::min() + 1);
    }
    if (m_to && !operation.hasTarget) {
        throw UsageError("--to goes with add, subtract and copy.");
    }
    if (m_operation == "copy" && !m_to) {
        throw UsageError("Say with --to where to copy the value.");
    }
}

void MifareValueCommand::run(Context &context) {
    const unsigned target = m_to.value_or(block());
    const std::int32_t value = unlocked(context).value(block(), target, m_letter, m_amount);
    context.output.result(
        blockText(target) + " holds " + std::to_string(value) + ".",
        Json{{"block", block()}, {"to", target}, {"operation", m_operation}, {"value", value}});
}

void MifareConfigCommand::declareArguments(CLI::App &app) {
    MifareBlockCommand::declareArguments(app);
    app.add_option("--set", m_flags,
                   "Set the access bits C1, C2 and C3 of the block, such as 110, and both keys of "
                   "its sector")
        ->type_name("FLAGS");
    declareNewKeys(app, m_keyA, m_keyB);
}

void MifareConfigCommand::prepare() {
    MifareBlockCommand::prepare();
    if (m_flags.empty()) {
        if (!m_keyA.empty() || !m_keyB.empty()) {
            throw UsageError("--key-a and --key-b go with --set.");
        }
        return;
    }
    if (m_flags.size() != FLAGS_SIZE || m_flags.find_first_not_of("01") != std::string::npos) {
        throw UsageError("--set takes three digits 0 or 1, such as 110.");
    }
    m_keyA = keyDigits("--key-a", m_keyA);
    m_keyB = keyDigits("--key-b", m_keyB);
}

void MifareConfigCommand::run(Context &context) {
    MifareCard card = unlocked(context);
    if (m_flags.empty()) {
        const std::string flags = card.config(block());
        context.output.result(blockText(block()) + " has the access bits " +
                                  fromDeviceVisibly(flags) + ".",
                              Json{{"block", block()}, {"flags", fromDevice(flags)}});
        return;
    }
    card.setConfig(block(), m_keyA, m_keyB, m_flags);
    context.output.result(blockText(block()) + " now has the access bits " + m_flags +
                              ", and its sector the new keys.",
                          Json{{"block", block()}, {"flags", m_flags}});
}

void MifareKeysCommand::declareArguments(CLI::App &app) {
    MifareBlockCommand::declareArguments(app);
    declareNewKeys(app, m_keyA, m_keyB);
}

void MifareKeysCommand::prepare() {
    MifareBlockCommand::prepare();
    m_keyA = keyDigits("--key-a", m_keyA);
    m_keyB = keyDigits("--key-b", m_keyB);
}

void MifareKeysCommand::run(Context &context) {
    unlocked(context).changeKeys(block(), m_keyA, m_keyB);
    context.output.result("The sector of block " + std::to_string(block()) + " has the new keys.",
                          Json{{"block", block()}});
}

} // namespace cli
