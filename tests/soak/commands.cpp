#include "tests/soak/commands.h"

#include "abecs/commands/capture.h"
#include "abecs/link.h"
#include "ext/cx_survey.h"
#include "ext/mifare.h"
#include "ext/qrcode.h"
#include "ext/survey.h"

#include <array>
#include <cstring>

namespace soak {

namespace {

// As long as the longest answer that the link lets through, with its NUL.
using Text = std::array<char, 2049>;
using Status = std::array<char, 3>;

constexpr char SERIAL[] = "11223344";
constexpr char KEY[] = "FFFFFFFFFFFF";
constexpr std::int32_t WRONG_STATUS = 1000;

// The result of a MIFARE command: its own, or the terminal's verdict when that is not "00".
std::int32_t verdict(std::int32_t result, const Status &status) {
    return result != 0 || std::strcmp(status.data(), "00") == 0 ? result : WRONG_STATUS;
}

std::int32_t activate(AbecsPinpad *pinpad) {
    Text serial{};
    Status status{};
    return verdict(abecs_mf_activate(pinpad, serial.data(), status.data()), status);
}

std::int32_t authenticate(AbecsPinpad *pinpad) {
    Status status{};
    return verdict(abecs_mf_authenticate(pinpad, 4, 'A', KEY, SERIAL, status.data()), status);
}

void prepareSector(AbecsPinpad *pinpad) {
    activate(pinpad);
    authenticate(pinpad);
}

void prepareCard(AbecsPinpad *pinpad) {
    activate(pinpad);
}

std::int32_t readBlock(AbecsPinpad *pinpad) {
    std::uint32_t length = 16;
    Text data{};
    Status status{};
    return verdict(abecs_mf_read_write(pinpad, 'R', 5, 0, &length, data.data(), status.data()),
                   status);
}

std::int32_t writeBlock(AbecsPinpad *pinpad) {
    std::uint32_t length = 16;
    Text data{"00112233445566778899AABBCCDDEEFF"};
    Status status{};
    return verdict(abecs_mf_read_write(pinpad, 'W', 5, 0, &length, data.data(), status.data()),
                   status);
}

std::int32_t readValue(AbecsPinpad *pinpad) {
    std::int32_t value = 0;
    Status status{};
    return verdict(abecs_mf_value_command(pinpad, 4, 4, 'R', 0, &value, status.data()), status);
}

std::int32_t getConfig(AbecsPinpad *pinpad) {
    Text flags{};
    Status status{};
    return verdict(abecs_mf_block_config_get(pinpad, 5, flags.data(), status.data()), status);
}

std::int32_t setConfig(AbecsPinpad *pinpad) {
    Status status{};
    return verdict(abecs_mf_block_config_set(pinpad, 5, KEY, KEY, "000", status.data()), status);
}

std::int32_t changeKeys(AbecsPinpad *pinpad) {
    Status status{};
    return verdict(abecs_mf_key_change(pinpad, 5, KEY, KEY, status.data()), status);
}

void startQrCode(AbecsPinpad *pinpad) {
    abecs_qr_start(pinpad, 0, '1', 5, "HELLO", 7, "PAYLOAD");
}

std::int32_t pollQrCode(AbecsPinpad *pinpad) {
    std::uint8_t result = 0;
    return abecs_qr_response(pinpad, &result);
}

void startSurvey(AbecsPinpad *pinpad) {
    abecs_survey_start(pinpad, 1, 0, 8, {0, "TOP", 3}, {0, "BOTTOM", 6});
}

std::int32_t pollSurvey(AbecsPinpad *pinpad) {
    std::array<char, 2> answer{};
    return abecs_survey_get(pinpad, answer.data());
}

void startCxSurvey(AbecsPinpad *pinpad) {
    abecs_cx_survey_start(pinpad, '0', '0', '1', "000", "000", {"A", "B", "C", "D", "E"});
}

std::int32_t pollCxSurvey(AbecsPinpad *pinpad) {
    std::array<char, 4> answer{};
    return abecs_cx_survey_get(pinpad, answer.data());
}

template <void (*Start)(AbecsPinpad *)>
std::int32_t started(AbecsPinpad *pinpad) {
    Start(pinpad);
    return 0;
}

void startCapture(AbecsPinpad *pinpad) {
    abecs_gcd_start(pinpad, 1, 3, 6, 0);
}

std::int32_t abortCapture(AbecsPinpad *pinpad) {
    abecs_link_abort(pinpad);
    return 0;
}

// An exchange that comes back as -1 when no answer comes.
faults::Command card(const char *name, const char *frame, void (*prepare)(AbecsPinpad *),
                     std::int32_t (*run)(AbecsPinpad *)) {
    return {name, frame, prepare, run, 0, true, true, true, false};
}

std::vector<faults::Command> build() {
    std::vector<faults::Command> all = faults::commands();
    all.push_back({"Abort", ABORT, startCapture, abortCapture, 0, false, false});
    all.push_back(card("CardActivate", "MF01", nullptr, activate));
    all.push_back(card("CardAuthenticate", "MF02", prepareCard, authenticate));
    all.push_back(card("CardRead", "MF03", prepareSector, readBlock));
    all.push_back(card("CardWrite", "MF03", prepareSector, writeBlock));
    all.push_back(card("CardValue", "MF04", prepareSector, readValue));
    all.push_back(card("CardConfigGet", "MF05", prepareSector, getConfig));
    all.push_back(card("CardConfigSet", "MF05", prepareSector, setConfig));
    all.push_back(card("CardKeyChange", "MF06", prepareSector, changeKeys));
    all.push_back({"QrStart", "QR01", nullptr, started<startQrCode>, 0, true, false});
    all.push_back({"QrPoll", "QR01", startQrCode, pollQrCode, 0, false, true, true});
    all.push_back({"SurveyStart", "EX08", nullptr, started<startSurvey>, 0, true, false});
    all.push_back({"SurveyPoll", "EX08", startSurvey, pollSurvey, 0, false, true, true});
    all.push_back({"CxSurveyStart", "EX10", nullptr, started<startCxSurvey>, 0, true, false});
    all.push_back({"CxSurveyPoll", "EX10", startCxSurvey, pollCxSurvey, 0, false, true, true});
    return all;
}

} // namespace

const std::vector<faults::Command> &commands() {
    static const std::vector<faults::Command> all = build();
    return all;
}

bool isExtension(const faults::Command &command) {
    return command.frame.size() == 4;
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
