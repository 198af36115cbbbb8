#include "sim/commands/commands.h"
#include "sim/events.h"
#include "sim/text.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace sim::commands {

namespace {

constexpr std::uint16_t event_options = 6;
constexpr std::uint16_t number_pair = 35;

// Waits for the first key or card that the options ask for.
class EventCheck : public Waiting {
public:
    EventCheck(Device &device, std::string options, std::optional<std::chrono::seconds> limit,
               Script script)
        : device_(device), options_(std::move(options)), limit_(limit), timer_(device.io()),
          player_(device, std::move(script), [this](const Step &step) { perform(step); }) {}

    void start() override {
        if (limit_) {
            timer_.after(device_.scaled(*limit_), [this] { device_.answer(status::timeout); });
        }
        player_.start();
    }

    void stop() override {
        player_.stop();
        timer_.cancel();
    }

    void digit(char) override { device_.beep("no use for the key"); }

    void key(Key key) override {
        if (options_[0] == '0') {
            device_.beep("no use for the key");
        } else {
            report(event_of_key(key));
        }
    }

    void swipe(const Card &card) override {
        if (options_[1] != '0') {
            report_swipe(card);
        }
    }

    void card_event(const std::string &code) override {
        const char chip = options_[2];
        const bool wanted = (code == event_code::insert && chip == '1') ||
                            (code == event_code::remove && chip == '2') ||
                            (code == event_code::tap && options_[3] != '0');
        if (wanted) {
            report(code);
        }
    }

private:
    void perform(const Step &step) {
        if (step.kind == Step::Kind::timeout) {
            device_.answer(status::timeout);
        } else if (step.kind == Step::Kind::swipe) {
            report_swipe(step.card);
        } else {
            report(step.text);
        }
    }

    void report_swipe(const Card &card) {
        std::vector<Param> tracks;
        const auto add = [&tracks](std::uint16_t id, const std::string &track) {
            if (!track.empty()) {
                tracks.push_back({id, to_bytes(track)});
            }
        };
        add(data_id::track1, card.track1);
        add(data_id::track2, card.track2);
        add(data_id::track3, card.track3);
        report(event_code::swipe, std::move(tracks));
    }

    void report(const std::string &code, std::vector<Param> tracks = {}) {
        device_.board().change([&code](Snapshot &state) { state.last_event = code; });
        Response response = make_response("CEX", status::ok);
        response.params = std::move(tracks);
        response.params.insert(response.params.begin(), {data_id::event, to_bytes(code)});
        device_.answer(std::move(response));
    }

    Device &device_;
    std::string options_;
    std::optional<std::chrono::seconds> limit_;
    Timer timer_;
    ScriptPlayer player_;
};

void check_number_pair(const std::vector<Param> &params) {
    constexpr std::size_t pair_size = 4;
    if (find_param(params, number_pair) == nullptr) {
        return;
    }
    if (!read_decimal(to_text(need_param(params, number_pair, pair_size)))) {
        throw Refusal(status::invalid_parameter);
    }
}

} // namespace

void cex(Device &device, const Request &request) {
    constexpr std::size_t options_size = 6;
    const std::vector<Param> params = read_params(request.rest);
    allow_only(params, {event_options, param_id::time_limit, number_pair});
    const Bytes &options = need_param(params, event_options, options_size);
    check_text(options, false, false);
    check_number_pair(params);
    std::optional<std::chrono::seconds> limit;
    if (find_param(params, param_id::time_limit) != nullptr) {
        limit = std::chrono::seconds(need_param(params, param_id::time_limit, 1).front());
    }
    device.wait_with(std::make_unique<EventCheck>(device, to_text(options), limit,
                                                  device.next_script(ScriptKind::event)));
}

} // namespace sim::commands
