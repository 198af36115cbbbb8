// Scenario files: read, or refused with the line named; nothing else may happen.

#include "sim/scenario.h"

#include "fuzz/check.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    try {
        sim::parse_scenario(text);
    } catch (const sim::ScenarioError &error) {
        FUZZ_CHECK(error.line() >= 1);
        FUZZ_CHECK(std::string(error.what()).rfind("line ", 0) == 0);
    }
    return 0;
}
