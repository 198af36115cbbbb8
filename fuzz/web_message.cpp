// Messages of browsers: taken, or refused with a reason that is short and repeats nothing of them.

#include "sim/web/message.h"

#include "fuzz/check.h"

#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t LONGEST_REASON = 200;
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const auto parsed = sim::web::parse_message(text);
    if (const auto *refused = std::get_if<sim::web::BadMessage>(&parsed)) {
        FUZZ_CHECK(!refused->why.empty());
        FUZZ_CHECK(refused->why.size() <= LONGEST_REASON);
        FUZZ_CHECK(refused->why.find('\n') == std::string::npos);
        return 0;
    }
    FUZZ_CHECK(size <= sim::web::max_message);
    const auto &message = std::get<sim::web::Message>(parsed);
    if (const auto *digits = std::get_if<sim::web::PressDigits>(&message)) {
        FUZZ_CHECK(digits->digits.find_first_not_of("0123456789") == std::string::npos);
    }
    return 0;
}
