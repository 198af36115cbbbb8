#include "cli/seconds.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

namespace cli {

namespace {

constexpr double DAY = 86400;
constexpr double MILLIS_PER_SECOND = 1000;

std::optional<std::chrono::milliseconds> readSeconds(const std::string &text) {
    double seconds = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    // NaN passes any comparison with a range.
    const bool isTime = error == std::errc() && stop == end && std::isfinite(seconds);
    if (!isTime || seconds < 0 || seconds > DAY) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * MILLIS_PER_SECOND));
}

} // namespace

void addSeconds(CLI::App &app, const std::string &name,
                std::optional<std::chrono::milliseconds> &value, const std::string &description) {
    const auto take = [&value, name](const std::string &text) {
        value = readSeconds(text);
        if (!value) {
            throw CLI::ValidationError(name,
                                       "'" + text + "' is no number of seconds of 0 to 86400.");
        }
    };
    app.add_option_function<std::string>(name, take, description)->type_name("SECONDS");
}

} // namespace cli
