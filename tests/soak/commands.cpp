#include "tests/soak/commands.h"

#include "abecs/commands/capture.h"
#include "abecs/link.h"

namespace soak {

namespace {

void startCapture(AbecsPinpad *pinpad) {
    abecs_gcd_start(pinpad, 1, 3, 6, 0);
}

std::int32_t abortCapture(AbecsPinpad *pinpad) {
    abecs_link_abort(pinpad);
    return 0;
}

std::vector<faults::Command> build() {
    std::vector<faults::Command> all = faults::commands();
    all.push_back({"Abort", ABORT, startCapture, abortCapture, 0, false, false});
    const std::vector<faults::Command> &extension = faults::extensionCommands();
    all.insert(all.end(), extension.begin(), extension.end());
    return all;
}

} // namespace

const std::vector<faults::Command> &commands() {
    static const std::vector<faults::Command> all = build();
    return all;
}

// Five digits: the length of four is the byte that answers an abort, and an abort that comes in the
// middle of such an answer takes it for that.
std::string scenario() {
    return "media LOGO text \"picture\"\n"
           "capture * keys 12345 enter\n"
           "event * key f1\n"
           "mifare uid 11223344 value 4 1000\n"
           "qrcode * enter\n"
           "survey * press 7\n"
           "cxsurvey * press 2\n";
}

} // namespace soak
