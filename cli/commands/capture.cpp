#include "cli/commands/capture.h"

#include "abecs/commands/capture.h"
#include "abecs/param.h"
#include "cli/help_format.h"
#include "cli/text.h"
#include "core/memory.h"

#include <array>

namespace cli {

namespace {

constexpr unsigned DIGITS_MAX = 32;
constexpr unsigned PROMPT_MAX = 65535;
constexpr unsigned CAPTURE_WAIT_MAX = 255;

// Holds the longest text that a PIN pad can send.
struct TypedText {
    std::array<char, ABECS_PARAM_CAPACITY + 1> bytes{};

    TypedText() = default;
    TypedText(const TypedText &) = delete;
    TypedText &operator=(const TypedText &) = delete;
    ~TypedText() { pcl_wipe(bytes.data(), bytes.size()); }
};

} // namespace

void CaptureCommand::declareArguments(CLI::App &app) {
    app.add_option("--prompt", m_prompt, "Number of the text that the PIN pad shows")
        ->check(upTo(PROMPT_MAX))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--min", m_minimum, "Least number of digits, 0 to 32")
        ->check(upTo(DIGITS_MAX))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--max", m_maximum, "Greatest number of digits, 0 to 32")
        ->check(upTo(DIGITS_MAX))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--wait", m_wait,
                   "Seconds after which the PIN pad gives up, 0 for its own choice")
        ->check(upTo(CAPTURE_WAIT_MAX))
        ->type_name("SECONDS")
        ->capture_default_str();
}

void CaptureCommand::prepare() {
    if (m_minimum > m_maximum) {
        throw UsageError("--min is greater than --max.");
    }
}

void CaptureCommand::run(Context &context) {
    callLibrary(Stage::Command, [&] {
        abecs_gcd_start(context.device.session(), static_cast<std::uint16_t>(m_prompt),
                        static_cast<std::uint8_t>(m_minimum), static_cast<std::uint8_t>(m_maximum),
                        static_cast<std::uint8_t>(m_wait));
    });
    TypedText typed;
    context.device.waitForCustomer(
        [&](AbecsPinpad *pinpad, char *notification) {
            return abecs_gcd_response(pinpad, typed.bytes.data(), notification);
        },
        [&](const std::string &text) {
            context.output.happened("The PIN pad says: " + fromDeviceVisibly(text),
                                    Json{{"notification", fromDevice(text)}});
        });
    context.output.result("Typed: " + fromDeviceVisibly(typed.bytes.data()),
                          Json{{"value", fromDevice(typed.bytes.data())}});
}

} // namespace cli
