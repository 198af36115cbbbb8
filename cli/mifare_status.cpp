#include "cli/mifare_status.h"

#include <algorithm>
#include <array>

namespace cli {

namespace {

struct Meaning {
    std::string_view status;
    const char *name;
    const char *explanation;
};

constexpr std::array MEANINGS = {
    Meaning{MIFARE_DONE, "done", "Done."},
    Meaning{"01", "no card", "Hold a MIFARE card to the reader, keep it there and run it again."},
    Meaning{"02", "not authenticated",
            "No key of this sector has been proved. Give one with --key, such as "
            "--key A:FFFFFFFFFFFF."},
    Meaning{"03", "authentication failed", "The key is not the one of this sector."},
    Meaning{"04", "access denied",
            "The access bits of the card refuse this with this key. Try the other one."},
    Meaning{"05", "not a value block",
            "The block holds no value. Make one of it with: pinpad mifare value BLOCK set N"},
    Meaning{"06", "bad parameter",
            "The PIN pad does not take one of the values given, or the card has no such block."},
    Meaning{"07", "value overflow", "The value would leave the range of 32 bits; it stays."},
};

const Meaning *find(std::string_view status) {
    const auto *found = std::find_if(MEANINGS.begin(), MEANINGS.end(),
                                     [status](const Meaning &one) { return one.status == status; });
    return found == MEANINGS.end() ? nullptr : found;
}

} // namespace

std::string mifareStatusName(std::string_view status) {
    const Meaning *meaning = find(status);
    return meaning == nullptr ? "" : meaning->name;
}

std::string mifareStatusExplanation(std::string_view status) {
    const Meaning *meaning = find(status);
    return meaning == nullptr ? "" : meaning->explanation;
}

} // namespace cli
