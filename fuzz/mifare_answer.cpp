// Bodies of answers to MIFARE commands, in frames that are right. The first byte chooses the
// command.

#include "ext/mifare.h"
#include "fuzz/memory_port.h"
#include "fuzz/session.h"
#include "sim/ext_frame.h"

#include <array>
#include <cstring>

namespace {

// As the public header asks for them, with a byte beyond that must stay as it is.
constexpr std::size_t TEXT_SIZE = 2039;
constexpr std::size_t STATUS_SIZE = 3;
constexpr char UNTOUCHED = '#';
constexpr char KEY[] = "FFFFFFFFFFFF";

template <std::size_t Size>
struct Guarded {
    std::array<char, Size + 1> bytes;
    Guarded() { bytes.fill(UNTOUCHED); }
    char *data() { return bytes.data(); }
    bool intact() const { return bytes.back() == UNTOUCHED; }
};

// The acknowledgement and the frame come without a silence between them.
sim::Bytes acknowledged(sim::Bytes frame) {
    constexpr std::uint8_t ACK = 0x06;
    frame.insert(frame.begin(), ACK);
    return frame;
}

void takeAnything(unsigned command, const sim::Bytes &body) {
    AbecsPinpad *const pinpad = fuzz::session();
    const fuzz::SessionState before = fuzz::stateOf(pinpad);
    const sim::Bytes frame = sim::encode_ext_frame(body);
    memory_port::say({acknowledged(frame), frame, frame});

    Guarded<TEXT_SIZE> text;
    Guarded<STATUS_SIZE> status;
    std::uint32_t length = 16;
    std::int32_t value = 0;
    std::int32_t result = 0;
    const PclException failure = pcl_attempt([&] {
        switch (command) {
        case 0:
            result = abecs_mf_activate(pinpad, text.data(), status.data());
            break;
        case 1:
            result = abecs_mf_authenticate(pinpad, 4, 'A', KEY, "11223344", status.data());
            break;
        case 2:
            result = abecs_mf_read_write(pinpad, 'R', 4, 0, &length, text.data(), status.data());
            break;
        case 3:
            result = abecs_mf_value_command(pinpad, 4, 4, 'R', 0, &value, status.data());
            break;
        case 4:
            result = abecs_mf_block_config_get(pinpad, 4, text.data(), status.data());
            break;
        default:
            result = abecs_mf_key_change(pinpad, 4, KEY, KEY, status.data());
            break;
        }
    });
    FUZZ_CHECK(fuzz::isAllowed(failure));
    FUZZ_CHECK(failure || result == 0 || result == -1);
    FUZZ_CHECK(text.intact());
    FUZZ_CHECK(status.intact());
    FUZZ_CHECK(fuzz::stateOf(pinpad) == before);
}

void activateACard() {
    memory_port::say({acknowledged(sim::encode_ext_frame(
        {'M', 'F', '0', '1', '0', '0', '0', '4', 'A', '1', 'B', '2', 'C', '3'}))});
    Guarded<TEXT_SIZE> text;
    Guarded<STATUS_SIZE> status;
    std::int32_t result = -1;
    const PclException failure = pcl_attempt(
        [&] { result = abecs_mf_activate(fuzz::session(), text.data(), status.data()); });
    FUZZ_CHECK(!failure);
    FUZZ_CHECK(result == 0);
    FUZZ_CHECK(std::strcmp(text.data(), "04A1B2C3") == 0);
    FUZZ_CHECK(std::strcmp(status.data(), "00") == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t MOST = 2100;
    constexpr unsigned COMMANDS = 6;
    if (size == 0 || size > MOST) {
        return 0;
    }
    takeAnything(data[0] % COMMANDS, sim::Bytes(data + 1, data + size));
    activateACard();
    return 0;
}
