#include "sim/transmitter.h"

#include "sim/control.h"

#include <algorithm>
#include <utility>

namespace sim {

namespace {

constexpr unsigned max_sends = 3;

Bytes head(const Bytes &frame, std::size_t count) {
    return {frame.begin(),
            frame.begin() + static_cast<std::ptrdiff_t>(std::min(count, frame.size()))};
}

Bytes tail(const Bytes &frame, std::size_t from) {
    return {frame.begin() + static_cast<std::ptrdiff_t>(std::min(from, frame.size())), frame.end()};
}

Bytes join(Bytes front, const Bytes &back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

} // namespace

bool Transmitter::executed_despite(const std::optional<Fault> &fault) {
    return !fault || fault->kind == FaultKind::ack_garble || fault->kind == FaultKind::ack_lost ||
           fault->kind == FaultKind::ack_delay || fault->kind == FaultKind::ack_unplug_after;
}

std::optional<Fault> Transmitter::strike(FaultStage stage, const std::string &command_id) {
    auto fault = faults_.strike(stage, command_id);
    if (fault) {
        log_.note("fault", {{"stage", stage_word(stage)}, {"action", action_word(fault->kind)}});
        board_.change([](Snapshot &state) { ++state.faults_struck; });
    }
    return fault;
}

void Transmitter::acknowledge(const std::optional<Fault> &fault) {
    if (!fault) {
        send_control(control::ack, FrameKind::ack);
        return;
    }
    switch (fault->kind) {
    case FaultKind::ack_nak:
        send_control(control::nak, FrameKind::nak);
        break;
    case FaultKind::ack_byte:
    case FaultKind::ack_garble:
        send_control(static_cast<std::uint8_t>(fault->number), FrameKind::noise);
        break;
    case FaultKind::ack_delay:
        line_.pause(fault->duration);
        send_control(control::ack, FrameKind::ack);
        break;
    case FaultKind::ack_unplug:
        line_.unplug_here();
        break;
    case FaultKind::ack_unplug_after:
        send_control(control::ack, FrameKind::ack);
        line_.unplug_here();
        break;
    default: // silent and lost send nothing
        break;
    }
}

void Transmitter::refuse(const WireFrame &frame, const std::string &why) {
    log_.add_frame(frame);
    log_.note("refused", {{"why", why}});
    board_.change([](Snapshot &state) { ++state.refused_frames; });
    send_control(control::nak, FrameKind::nak);
}

void Transmitter::end_transmission() {
    const auto fault = strike(FaultStage::can);
    if (!fault) {
        send_control(control::eot, FrameKind::eot);
        return;
    }
    switch (fault->kind) {
    case FaultKind::can_byte:
        send_control(static_cast<std::uint8_t>(fault->number), FrameKind::noise);
        break;
    case FaultKind::can_delay:
        line_.pause(fault->duration);
        send_control(control::eot, FrameKind::eot);
        break;
    case FaultKind::can_unplug:
        line_.unplug_here();
        break;
    default: // silent
        break;
    }
}

void Transmitter::send(Answer answer) {
    last_ = {std::move(answer), 0};
    transmit();
}

void Transmitter::resend() {
    if (last_.answer.frame.empty() || last_.sends >= max_sends) {
        return;
    }
    log_.note("resend", {{"number", std::to_string(last_.sends)}});
    board_.change([](Snapshot &state) { ++state.resends; });
    transmit();
}

void Transmitter::transmit() {
    ++last_.sends;
    const Answer &answer = last_.answer;
    log_.add_frame({Direction::to_host,
                    {},
                    FrameKind::response,
                    answer.encrypted,
                    answer.body,
                    answer.frame,
                    answer.framing});
    const auto fault = strike(FaultStage::response, answer.command_id);
    if (fault) {
        transmit_damaged(answer.frame, *fault);
    } else {
        line_.send(answer.frame);
    }
}

void Transmitter::transmit_damaged(const Bytes &frame, const Fault &fault) {
    const std::size_t at = fault.number;
    switch (fault.kind) {
    case FaultKind::response_bad_crc: {
        Bytes damaged = frame;
        damaged.back() ^= 0xFF;
        line_.send(damaged);
        break;
    }
    case FaultKind::response_cut:
        line_.send(head(frame, at));
        break;
    case FaultKind::response_drop:
        line_.send(join(head(frame, at), tail(frame, at + 1)));
        break;
    case FaultKind::response_duplicate:
        line_.send(join(head(frame, at + 1), tail(frame, at)));
        break;
    case FaultKind::response_corrupt: {
        Bytes damaged = frame;
        if (at < damaged.size()) {
            damaged[at] ^= 0xFF;
        }
        line_.send(damaged);
        break;
    }
    case FaultKind::response_stall:
        line_.send(head(frame, at));
        line_.pause(fault.duration);
        line_.send(tail(frame, at));
        break;
    case FaultKind::response_prefix:
        line_.send(join(fault.bytes, frame));
        break;
    case FaultKind::response_suffix:
        line_.send(join(frame, fault.bytes));
        break;
    case FaultKind::response_delay:
        line_.pause(fault.duration);
        line_.send(frame);
        break;
    case FaultKind::response_twice:
        line_.send(join(frame, frame));
        break;
    case FaultKind::response_unplug:
        line_.send(head(frame, at));
        line_.unplug_here();
        break;
    default: // silent
        break;
    }
}

void Transmitter::send_control(std::uint8_t byte, FrameKind kind) {
    log_.add_frame({Direction::to_host, {}, kind, false, {}, {byte}});
    line_.send({byte});
}

} // namespace sim
