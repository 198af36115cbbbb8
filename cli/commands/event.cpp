#include "cli/commands/event.h"

#include "abecs/rsp_datid.h"
#include "cli/help_format.h"
#include "cli/secret_ids.h"
#include "cli/status_text.h"
#include "cli/text.h"

#include <algorithm>

namespace cli {

namespace {

constexpr std::size_t OPTIONS_LENGTH = 6;
constexpr unsigned NUMBER_MAX = 255;

bool isPrintable(char character) {
    return character >= 0x20 && character < 0x7F;
}

// "A,B" with two numbers of at most two digits.
std::optional<AbecsEventPair> readPair(const std::string &text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) {
        return std::nullopt;
    }
    const auto readNumber = [](const std::string &digits) -> std::optional<std::uint32_t> {
        if (digits.empty() || digits.size() > 2 ||
            digits.find_first_not_of("0123456789") != std::string::npos) {
            return std::nullopt;
        }
        return static_cast<std::uint32_t>(std::stoul(digits));
    };
    const auto first = readNumber(text.substr(0, comma));
    const auto second = readNumber(text.substr(comma + 1));
    if (!first || !second) {
        return std::nullopt;
    }
    return AbecsEventPair{*first, *second};
}

struct Value {
    std::uint16_t id;
    std::string bytes;
};

// What came with the event, save its code, in the order of identifiers.
std::vector<Value> valuesOf(AbecsParamMap *map) {
    std::vector<Value> values;
    AbecsParamMapIterator it{};
    for (auto *at = abecsParamMapFirst(map, &it); at != nullptr; at = abecsParamMapNext(&it)) {
        if (it.id != ABECS_RSP_DATID_PP_EVENT) {
            values.push_back(
                {it.id, std::string(reinterpret_cast<const char *>(it.value.data), it.value.size)});
        }
    }
    std::sort(values.begin(), values.end(),
              [](const Value &left, const Value &right) { return left.id < right.id; });
    return values;
}

} // namespace

void EventCommand::declareArguments(CLI::App &app) {
    app.add_option("--options", m_options,
                   "Six characters that select the events: keys, stripe, chip, contactless, ...")
        ->type_name("TEXT")
        ->capture_default_str();
    app.add_option("--number", m_number, "Value for the PIN pad's parameter 12, 0 to 255")
        ->check(upTo(NUMBER_MAX))
        ->type_name("N");
    app.add_option("--pair", m_pairText,
                   "Two numbers of 0 to 99 for the PIN pad's parameter 35, as A,B")
        ->type_name("A,B");
}

void EventCommand::prepare() {
    if (m_options.size() != OPTIONS_LENGTH ||
        !std::all_of(m_options.begin(), m_options.end(), isPrintable)) {
        throw UsageError("--options takes exactly 6 characters.");
    }
    m_pair = readPair(m_pairText);
    if (!m_pairText.empty() && !m_pair) {
        throw UsageError("--pair takes two numbers of 0 to 99, such as 5,30.");
    }
}

void EventCommand::run(Context &context) {
    const std::uint32_t number = m_number.value_or(0);
    AbecsParamMapPtr map;
    callLibrary(Stage::Command, [&] {
        map.reset(abecsParamMapCreate());
        abecsCheckEvent(context.device.session(), m_options.c_str(), m_number ? &number : nullptr,
                        m_pair ? &*m_pair : nullptr);
    });
    context.device.waitForCustomer(
        [&](AbecsPinpad *pinpad, char *notification) {
            return abecsCheckEventResponse(pinpad, map.get(), notification);
        },
        [&](const std::string &text) {
            context.output.happened("The PIN pad says: " + fromDeviceVisibly(text),
                                    Json{{"notification", fromDevice(text)}});
        });
    std::int32_t code = 0;
    std::vector<Value> values;
    callLibrary(Stage::Command, [&] {
        code = abecsParamMapGetEvent(map.get());
        values = valuesOf(map.get());
    });

    Json fields{{"event", code}, {"name", eventName(code)}};
    std::vector<std::string> lines = {"Event " + std::to_string(code) + ": " + eventName(code) +
                                      "."};
    for (const Value &value : values) {
        const bool hidden = isSecretId(value.id) && !context.settings.traceSecrets;
        const std::string name = dataName(value.id);
        const std::string size = std::to_string(value.bytes.size());
        lines.push_back(
            name + ": " +
            (hidden ? size + " characters, not shown" : fromDeviceVisibly(value.bytes)));
        Json told{{"id", name}, {"length", value.bytes.size()}};
        if (!hidden) {
            told["text"] = fromDevice(value.bytes);
        }
        fields["values"].push_back(told);
    }
    context.output.lines(lines, fields);
}

} // namespace cli
