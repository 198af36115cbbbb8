#include "cli/commands/survey.h"

#include "abecs/packet.h"
#include "cli/help_format.h"
#include "cli/seconds.h"
#include "cli/text.h"
#include "ext/cx_survey.h"
#include "ext/survey.h"

#include <charconv>
#include <cstdio>

namespace cli {

namespace {

constexpr unsigned SURVEY_WAIT_MAX = 999;
constexpr unsigned AREA_TYPE_MAX = 2;
constexpr std::size_t AREA_MAX = 999;
constexpr std::size_t CODE_DIGITS = 4;
constexpr unsigned CX_TYPE_MAX = 3;
constexpr unsigned SCORE_TYPE_MAX = 5;
// What stands in the command before the messages.
constexpr std::size_t CX_HEAD = 13;
constexpr std::size_t CX_MESSAGES_MAX = ABECS_PACKET_CAPACITY - CX_HEAD;

void addNumber(CLI::App &app, const char *option, unsigned &number, unsigned limit,
               const char *description) {
    app.add_option(option, number, description)
        ->check(upTo(limit))
        ->type_name("N")
        ->capture_default_str();
}

char digit(unsigned number) {
    return static_cast<char>('0' + number);
}

std::string threeDigits(unsigned number) {
    char text[8];
    std::snprintf(text, sizeof text, "%03u", number);
    return text;
}

} // namespace

void AnySurveyCommand::declareArguments(CLI::App &app) {
    app.add_option("--wait", m_wait,
                   "Seconds after which the PIN pad gives up, 0 for its own choice")
        ->check(upTo(SURVEY_WAIT_MAX))
        ->type_name("SECONDS")
        ->capture_default_str();
    addSeconds(app, "--stop-after", m_stopAfter,
               "Stop the survey when nobody has answered for so long");
}

void AnySurveyCommand::run(Context &context) {
    callLibrary(Stage::Command, [&] { start(context.device.session()); });
    const std::string answer = waitForSurvey(context.device, calls(), m_stopAfter);
    context.output.result("Answer: " + fromDeviceVisibly(answer),
                          Json{{"answer", fromDevice(answer)}});
}

void SurveyCommand::declareArguments(CLI::App &app) {
    app.add_option("TOP", m_top.typed, "What the top of the screen shows")
        ->type_name("")
        ->required();
    app.add_option("BOTTOM", m_bottom.typed, "What the bottom shows")->type_name("");
    addNumber(app, "--top-type", m_top.type, AREA_TYPE_MAX, "How the top is shown, 0 to 2");
    addNumber(app, "--bottom-type", m_bottom.type, AREA_TYPE_MAX,
              "How the bottom is shown, 0 to 2");
    app.add_option("--style", m_style, "Style of the screen: 4, 8 or 12")
        ->check(quietly(CLI::IsMember({4U, 8U, 12U})))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--code", m_codeText, "Code of the survey, four hexadecimal digits")
        ->type_name("HEX")
        ->capture_default_str();
    AnySurveyCommand::declareArguments(app);
}

void SurveyCommand::prepare() {
    const char *end = m_codeText.data() + m_codeText.size();
    const auto [stop, error] = std::from_chars(m_codeText.data(), end, m_code, 16);
    if (m_codeText.size() != CODE_DIGITS || error != std::errc() || stop != end) {
        throw UsageError("--code takes four hexadecimal digits, such as 1A2B.");
    }
    m_top.data = toDevice(m_top.typed, "top", AREA_MAX, LineBreaks::Refused);
    m_bottom.data = toDevice(m_bottom.typed, "bottom", AREA_MAX, LineBreaks::Refused);
}

void SurveyCommand::start(AbecsPinpad *pinpad) {
    const auto area = [](const Area &one) {
        return AbecsSurveyArea{static_cast<std::uint8_t>(one.type), one.data.c_str(),
                               static_cast<std::uint16_t>(one.data.size())};
    };
    abecs_survey_start(pinpad, m_code, static_cast<std::uint16_t>(wait()),
                       static_cast<std::uint8_t>(m_style), area(m_top), area(m_bottom));
}

SurveyCalls SurveyCommand::calls() const {
    return {"EX08", abecs_survey_get, abecs_survey_stop};
}

void CxSurveyCommand::declareArguments(CLI::App &app) {
    app.add_option("MESSAGE", m_typed, "Up to five texts of the survey")
        ->type_name("")
        ->expected(0, ABECS_CX_SURVEY_MESSAGES);
    addNumber(app, "--survey-type", m_surveyType, CX_TYPE_MAX, "Type of the survey, 0 to 3");
    addNumber(app, "--message-type", m_messageType, CX_TYPE_MAX, "Type of the messages, 0 to 3");
    addNumber(app, "--score-type", m_scoreType, SCORE_TYPE_MAX, "Type of the score, 0 to 5");
    app.add_option("--idle-wait", m_idleWait,
                   "Seconds without a key after which the PIN pad gives up, 0 for its own choice")
        ->check(upTo(SURVEY_WAIT_MAX))
        ->type_name("SECONDS")
        ->capture_default_str();
    AnySurveyCommand::declareArguments(app);
}

void CxSurveyCommand::prepare() {
    std::size_t left = CX_MESSAGES_MAX;
    for (const std::string &typed : m_typed) {
        m_messages.push_back(toDevice(typed, "message", left, LineBreaks::Refused));
        left -= m_messages.back().size();
    }
    m_messages.resize(ABECS_CX_SURVEY_MESSAGES);
}

void CxSurveyCommand::start(AbecsPinpad *pinpad) {
    std::array<const char *, ABECS_CX_SURVEY_MESSAGES> messages{};
    for (std::size_t i = 0; i < messages.size(); ++i) {
        messages[i] = m_messages[i].c_str();
    }
    const std::string waitText = threeDigits(wait());
    const std::string idleText = threeDigits(m_idleWait);
    abecs_cx_survey_start(pinpad, digit(m_surveyType), digit(m_messageType), digit(m_scoreType),
                          waitText.c_str(), idleText.c_str(), messages);
}

SurveyCalls CxSurveyCommand::calls() const {
    return {"EX10", abecs_cx_survey_get, abecs_cx_survey_stop};
}

} // namespace cli
