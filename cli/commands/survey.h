#pragma once

#include "cli/command.h"
#include "cli/survey_wait.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace cli {

/// What both kinds of survey have in common.
class AnySurveyCommand : public Command {
public:
    void declareArguments(CLI::App &app) override;
    void run(Context &context) override;

protected:
    virtual void start(AbecsPinpad *pinpad) = 0;
    virtual SurveyCalls calls() const = 0;
    unsigned wait() const { return m_wait; }

private:
    unsigned m_wait = 0;
    std::optional<std::chrono::milliseconds> m_stopAfter;
};

/// A survey screen with a top and a bottom area.
class SurveyCommand : public AnySurveyCommand {
public:
    std::string name() const override { return "survey"; }
    std::string summary() const override { return "Ask the customer something, with buttons"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 survey \"COMO FOI O ATENDIMENTO?\" \"1 RUIM 4 OTIMO\" "
               "--style 4 --wait 30";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;

protected:
    void start(AbecsPinpad *pinpad) override;
    SurveyCalls calls() const override;

private:
    struct Area {
        std::string typed;
        unsigned type = 0;
        std::string data;
    };

    std::string m_codeText = "0000";
    unsigned m_style = 4;
    Area m_top;
    Area m_bottom;
    std::uint16_t m_code = 0;
};

/// A customer-experience survey.
class CxSurveyCommand : public AnySurveyCommand {
public:
    std::string name() const override { return "cxsurvey"; }
    std::string summary() const override { return "Ask the customer for a score"; }
    std::string example() const override {
        return "pinpad --port ttyUSB0 cxsurvey \"QUE NOTA NOS DA?\" --score-type 4 --wait 30";
    }
    void declareArguments(CLI::App &app) override;
    void prepare() override;

protected:
    void start(AbecsPinpad *pinpad) override;
    SurveyCalls calls() const override;

private:
    std::vector<std::string> m_typed;
    unsigned m_surveyType = 0;
    unsigned m_messageType = 0;
    unsigned m_scoreType = 0;
    unsigned m_idleWait = 0;
    std::vector<std::string> m_messages;
};

} // namespace cli
