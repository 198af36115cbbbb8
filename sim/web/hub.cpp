#include "sim/web/hub.h"

#include "sim/web/frame_view.h"
#include "sim/web/state_view.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace sim::web {

namespace {

using nlohmann::json;

constexpr std::size_t kept_frames = 2000;
constexpr std::size_t frames_of_message = 400;

std::string dump(const json &message) {
    return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string frame_message(const WireFrame &frame, std::uint64_t number, double milliseconds) {
    FrameView view = view_of(frame);
    json params = json::array();
    for (auto &[id, value] : view.params) {
        params.push_back({id, std::move(value)});
    }
    return dump({{"n", number},
                 {"t", milliseconds},
                 {"from", view.from},
                 {"framing", view.framing},
                 {"kind", view.kind},
                 {"id", view.id},
                 {"meaning", view.meaning},
                 {"status", view.status},
                 {"text", view.text},
                 {"raw", view.raw},
                 {"params", std::move(params)},
                 {"encrypted", view.encrypted}});
}

// Carries a message out on the device. Returns the reply for its sender; empty when there is none.
class MessageHandler {
public:
    explicit MessageHandler(Station &station) : station_(station), device_(station.device()) {}

    std::string operator()(const PressDigits &message) {
        device_->press(message.digits);
        return {};
    }
    std::string operator()(const PressKey &message) {
        device_->press_key(message.key);
        return {};
    }
    std::string operator()(const PressButton &message) {
        device_->press_button(message.button);
        return {};
    }
    std::string operator()(const Swipe &message) {
        device_->swipe(message.card);
        return {};
    }
    std::string operator()(const MoveCard &message) {
        switch (message.how) {
        case MoveCard::How::insert:
            device_->insert_card();
            break;
        case MoveCard::How::remove:
            device_->remove_card();
            break;
        case MoveCard::How::tap:
            device_->tap_card();
            break;
        case MoveCard::How::hold:
            device_->hold_card();
            break;
        case MoveCard::How::take:
            device_->take_card();
            break;
        }
        return {};
    }
    std::string operator()(const MoveCable &message) {
        if (message.in) {
            device_->replug();
        } else {
            device_->unplug();
        }
        return {};
    }
    std::string operator()(const Arm &message) {
        station_.arm(message.rule);
        return {};
    }
    std::string operator()(const Disarm &message) {
        station_.disarm(message.rule);
        return {};
    }
    std::string operator()(const DisarmAll &) {
        station_.disarm_all();
        return {};
    }
    std::string operator()(const Save &) {
        return dump({{"type", "recording"}, {"scenario", station_.recording()}});
    }
    std::string operator()(const Replay &message) {
        station_.replay(message.scenario);
        return dump({{"type", "replaying"}});
    }

private:
    Station &station_;
    std::shared_ptr<Simulator> device_;
};

std::string problem_message(const std::string &why) {
    return dump({{"type", "problem"}, {"why", why}});
}

} // namespace

void Hub::refresh() {
    for (const WireFrame &frame : feed_.take()) {
        const std::chrono::duration<double, std::milli> since = frame.time - start_;
        frames_.push_back(frame_message(frame, ++last_frame_, since.count()));
        if (frames_.size() > kept_frames) {
            frames_.pop_front();
        }
    }
    const auto device = station_.device();
    std::string now =
        state_message(device->snapshot(), station_.scenario(), device->port(), station_.armed());
    if (now == state_) {
        return;
    }
    state_ = std::move(now);
    ++state_number_;
}

std::optional<std::string> Hub::frames_after(std::uint64_t &number) const {
    const auto missing = static_cast<std::size_t>(last_frame_ - number);
    const std::size_t count = std::min({missing, frames_.size(), frames_of_message});
    number = last_frame_;
    if (count == 0) {
        return std::nullopt;
    }
    std::string message =
        R"({"type":"frames","skipped":)" + std::to_string(missing - count) + R"(,"frames":[)";
    for (auto frame = frames_.end() - static_cast<std::ptrdiff_t>(count); frame != frames_.end();
         ++frame) {
        message += *frame + (frame + 1 == frames_.end() ? "" : ",");
    }
    return message + "]}";
}

std::optional<std::string> Hub::obey(std::string_view text) {
    const auto parsed = parse_message(text);
    if (const auto *bad = std::get_if<BadMessage>(&parsed)) {
        return problem_message(bad->why);
    }
    try {
        std::string reply = std::visit(MessageHandler(station_), std::get<Message>(parsed));
        feed_.touch();
        return reply.empty() ? std::nullopt : std::optional(std::move(reply));
    } catch (const std::exception &problem) {
        return problem_message(problem.what());
    }
}

} // namespace sim::web
