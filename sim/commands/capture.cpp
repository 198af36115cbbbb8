#include "sim/commands/commands.h"
#include "sim/text.h"

#include <memory>

namespace sim::commands {

namespace {

constexpr std::uint16_t prompt_number = 11;
constexpr std::uint16_t minimum_digits = 13;
constexpr std::uint16_t maximum_digits = 14;
constexpr std::size_t most_digits = 32;
constexpr std::chrono::seconds default_time_limit{60};

struct CaptureSettings {
    std::string prompt;
    std::size_t minimum = 0;
    std::size_t maximum = 0;
    std::chrono::seconds time_limit = default_time_limit;
};

// Lets the customer type digits.
class Capture : public Waiting {
public:
    Capture(Device &device, CaptureSettings settings, Script script)
        : device_(device), settings_(std::move(settings)), limit_(device.io()),
          player_(device, std::move(script), [this](const Step &step) { perform(step); }) {}

    void start() override {
        show();
        restart_limit();
        player_.start();
    }

    void stop() override {
        player_.stop();
        limit_.cancel();
    }

    void digit(char digit) override {
        if (typed_.size() == settings_.maximum) {
            device_.beep("too many digits");
            return;
        }
        type(typed_ + digit);
    }

    void key(Key key) override {
        switch (key) {
        case Key::enter:
            enter();
            break;
        case Key::cancel:
            finish(status::cancel);
            break;
        case Key::clear:
            type({});
            break;
        case Key::backspace:
            type(typed_.substr(0, typed_.empty() ? 0 : typed_.size() - 1));
            break;
        default:
            device_.beep("no use for the key");
            break;
        }
    }

private:
    void perform(const Step &step) {
        if (step.kind == Step::Kind::digit) {
            device_.press_digit(step.text.front());
        } else if (step.kind == Step::Kind::key) {
            device_.press_key(step.key);
        } else {
            finish(status::timeout);
        }
    }

    void enter() {
        if (typed_.size() < settings_.minimum) {
            device_.beep("too few digits");
            return;
        }
        device_.log().note("captured", {{"value", typed_}});
        device_.board().change([this](Snapshot &state) { state.last_captured = typed_; });
        Response response = make_response("GCD", status::ok);
        response.params.push_back({data_id::value, to_bytes(typed_)});
        device_.clear_screen();
        device_.answer(std::move(response));
    }

    void finish(unsigned code) {
        device_.clear_screen();
        device_.answer(code);
    }

    void type(std::string digits) {
        typed_ = std::move(digits);
        device_.board().change([this](Snapshot &state) { state.typed = typed_; });
        show();
        restart_limit();
    }

    void show() { device_.show_text(ScreenKind::prompt, settings_.prompt + '\r' + typed_); }

    void restart_limit() {
        limit_.after(device_.scaled(settings_.time_limit), [this] { finish(status::timeout); });
    }

    Device &device_;
    CaptureSettings settings_;
    std::string typed_;
    Timer limit_;
    ScriptPlayer player_;
};

std::string prompt_text(const Device &device, std::uint16_t number) {
    const auto &prompts = device.scenario().prompts;
    const auto found = prompts.find(number);
    return found == prompts.end() ? "PROMPT " + std::to_string(number) : found->second;
}

} // namespace

void gcd(Device &device, const Request &request) {
    const std::vector<Param> params = read_params(request.rest);
    allow_only(params, {prompt_number, param_id::time_limit, minimum_digits, maximum_digits});
    const Bytes &number_bytes = need_param(params, prompt_number, 2);
    const auto number = static_cast<std::uint16_t>(number_bytes[0] << 8 | number_bytes[1]);
    CaptureSettings settings;
    settings.prompt = prompt_text(device, number);
    settings.minimum = need_param(params, minimum_digits, 1).front();
    settings.maximum = need_param(params, maximum_digits, 1).front();
    if (settings.minimum > settings.maximum || settings.maximum > most_digits) {
        throw Refusal(status::invalid_parameter);
    }
    if (find_param(params, param_id::time_limit) != nullptr) {
        const std::uint8_t seconds = need_param(params, param_id::time_limit, 1).front();
        if (seconds != 0) {
            settings.time_limit = std::chrono::seconds(seconds);
        }
    }
    device.board().change([number](Snapshot &state) { state.last_prompt = number; });
    device.wait_with(std::make_unique<Capture>(device, std::move(settings),
                                               device.next_script(ScriptKind::capture)));
}

} // namespace sim::commands
