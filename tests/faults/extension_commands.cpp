#include "tests/faults/commands.h"

#include "ext/cx_survey.h"
#include "ext/mifare.h"
#include "ext/qrcode.h"
#include "ext/survey.h"

#include <array>
#include <cstring>

namespace faults {

namespace {

// As long as the longest answer that the link lets through, with its NUL.
using Text = std::array<char, 2049>;
using Status = std::array<char, 3>;

constexpr char SERIAL[] = "11223344";
constexpr char KEY[] = "FFFFFFFFFFFF";
constexpr std::int32_t VALUE = 1000;
constexpr std::int32_t WRONG_STATUS = 1000;
constexpr std::int32_t WRONG_ANSWER = 1001;

// The result of a call that gives an answer besides: its own, or that the answer is wrong.
std::int32_t checked(std::int32_t result, bool right) {
    return result != 0 || right ? result : WRONG_ANSWER;
}

// The result of a MIFARE command: its own, or the terminal's verdict when that is not "00".
std::int32_t verdict(std::int32_t result, const Status &status) {
    return result != 0 || std::strcmp(status.data(), "00") == 0 ? result : WRONG_STATUS;
}

std::int32_t activate(AbecsPinpad *pinpad) {
    Text serial{};
    Status status{};
    const std::int32_t result = abecs_mf_activate(pinpad, serial.data(), status.data());
    return checked(verdict(result, status), std::strcmp(serial.data(), SERIAL) == 0);
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
    const std::int32_t result = abecs_mf_value_command(pinpad, 4, 4, 'R', 0, &value, status.data());
    return checked(verdict(result, status), value == VALUE);
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
    std::uint8_t answer = 9;
    const std::int32_t result = abecs_qr_response(pinpad, &answer);
    return checked(result, answer == '0');
}

void startSurvey(AbecsPinpad *pinpad) {
    abecs_survey_start(pinpad, 1, 0, 8, {0, "TOP", 3}, {0, "BOTTOM", 6});
}

std::int32_t pollSurvey(AbecsPinpad *pinpad) {
    std::array<char, 2> answer{};
    const std::int32_t result = abecs_survey_get(pinpad, answer.data());
    return checked(result, answer[0] == '7');
}

void startCxSurvey(AbecsPinpad *pinpad) {
    abecs_cx_survey_start(pinpad, '0', '0', '1', "000", "000", {"A", "B", "C", "D", "E"});
}

std::int32_t pollCxSurvey(AbecsPinpad *pinpad) {
    std::array<char, 4> answer{};
    const std::int32_t result = abecs_cx_survey_get(pinpad, answer.data());
    return checked(result, answer[0] == '2');
}

template <void (*Start)(AbecsPinpad *)>
std::int32_t started(AbecsPinpad *pinpad) {
    Start(pinpad);
    return 0;
}

// An exchange that comes back as -1 when no answer comes.
Command card(const char *name, const char *frame, void (*prepare)(AbecsPinpad *),
             std::int32_t (*run)(AbecsPinpad *)) {
    return {name, frame, prepare, run, 0, true, true, true, false};
}

} // namespace

bool isExtension(const Command &command) {
    return command.frame.size() == 4;
}

const std::vector<Command> &extensionCommands() {
    static const std::vector<Command> all = {
        card("CardActivate", "MF01", nullptr, activate),
        card("CardAuthenticate", "MF02", prepareCard, authenticate),
        card("CardRead", "MF03", prepareSector, readBlock),
        card("CardWrite", "MF03", prepareSector, writeBlock),
        card("CardValue", "MF04", prepareSector, readValue),
        card("CardConfigGet", "MF05", prepareSector, getConfig),
        card("CardConfigSet", "MF05", prepareSector, setConfig),
        card("CardKeyChange", "MF06", prepareSector, changeKeys),
        {"QrStart", "QR01", nullptr, started<startQrCode>, 0, true, false},
        {"QrPoll", "QR01", startQrCode, pollQrCode, 0, false, true, true},
        {"SurveyStart", "EX08", nullptr, started<startSurvey>, 0, true, false},
        {"SurveyPoll", "EX08", startSurvey, pollSurvey, 0, false, true, true},
        {"SurveyStop", "EX08", startSurvey, abecs_survey_stop, 0, false, true, true},
        {"CxSurveyStart", "EX10", nullptr, started<startCxSurvey>, 0, true, false},
        {"CxSurveyPoll", "EX10", startCxSurvey, pollCxSurvey, 0, false, true, true},
        {"CxSurveyStop", "EX10", startCxSurvey, abecs_cx_survey_stop, 0, false, true, true},
    };
    return all;
}

} // namespace faults
