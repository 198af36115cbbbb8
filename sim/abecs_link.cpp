#include "sim/abecs_link.h"

#include "sim/text.h"

#include <algorithm>

namespace sim {

namespace {

constexpr unsigned max_sends = 3;

std::string id_of(const Bytes &body) {
    constexpr std::size_t id_length = 3;
    return {body.begin(), body.begin() + static_cast<std::ptrdiff_t>(
                                             std::min<std::size_t>(body.size(), id_length))};
}

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

bool executed_despite(const Fault &fault) {
    return fault.kind == FaultKind::ack_garble || fault.kind == FaultKind::ack_lost ||
           fault.kind == FaultKind::ack_delay || fault.kind == FaultKind::ack_unplug_after;
}

} // namespace

AbecsLink::AbecsLink(boost::asio::io_context &io, PtyLine &line, SecureChannel &channel,
                     FaultInjector &faults, Logbook &log, StateBoard &board,
                     std::chrono::milliseconds frame_gap)
    : line_(line), channel_(channel), faults_(faults), log_(log), board_(board),
      frame_gap_(frame_gap), gap_timer_(io) {}

void AbecsLink::receive(const Bytes &bytes) {
    gap_timer_.cancel();
    for (std::uint8_t byte : bytes)
        receive_byte(byte);
    flush_noise();
    if (reader_.active())
        gap_timer_.after(frame_gap_, [this] {
            reader_.abandon();
            refuse_frame("gap");
        });
}

void AbecsLink::reset() {
    gap_timer_.cancel();
    reader_.abandon();
    last_ = {};
    noise_.clear();
}

void AbecsLink::receive_byte(std::uint8_t byte) {
    if (reader_.active()) {
        const FrameReader::Result result = reader_.feed(byte);
        if (result != FrameReader::Result::more)
            end_frame(result);
        return;
    }
    if (byte == control::syn) {
        flush_noise();
        reader_.begin();
        return;
    }
    receive_control(byte);
}

void AbecsLink::receive_control(std::uint8_t byte) {
    const auto log = [&](FrameKind kind) {
        flush_noise();
        log_.add_frame({Direction::from_host, {}, kind, false, {}, {byte}});
    };
    switch (byte) {
    case control::can:
        log(FrameKind::can);
        answer_can();
        break;
    case control::nak:
        log(FrameKind::nak);
        resend();
        break;
    case control::ack:
        log(FrameKind::ack);
        break;
    case control::eot:
        log(FrameKind::eot);
        break;
    default:
        noise_.push_back(byte);
        break;
    }
}

void AbecsLink::flush_noise() {
    if (noise_.empty())
        return;
    log_.add_frame({Direction::from_host, {}, FrameKind::noise, false, {}, noise_});
    noise_.clear();
}

void AbecsLink::end_frame(FrameReader::Result result) {
    if (result == FrameReader::Result::good)
        take_good_frame();
    else
        refuse_frame("crc");
}

void AbecsLink::refuse_frame(const std::string &why) {
    log_.add_frame({Direction::from_host,
                    {},
                    FrameKind::bad_command,
                    reader_.encrypted(),
                    reader_.body(),
                    reader_.raw()});
    log_.note("refused", {{"why", why}});
    board_.change([](Snapshot &state) { ++state.refused_frames; });
    send_control(control::nak, FrameKind::nak);
}

void AbecsLink::take_good_frame() {
    const Bytes payload = reader_.body();
    const Bytes raw = reader_.raw();
    const bool encrypted = reader_.encrypted();
    Bytes body = payload;
    bool readable = true;
    if (encrypted) {
        const auto plain = channel_.on() ? channel_.unwrap(payload) : std::nullopt;
        readable = plain.has_value();
        body = plain.value_or(Bytes{});
    }
    const auto fault = faults_.strike(FaultStage::ack, id_of(body));
    const bool executed = !fault || executed_despite(*fault);
    const FrameKind kind = executed ? FrameKind::command : FrameKind::bad_command;
    log_.add_frame({Direction::from_host, {}, kind, encrypted, body, raw});
    acknowledge(fault);
    if (!executed)
        return;
    last_ = {};
    log_.note("command", {{"id", id_of(body)}, {"encrypted", encrypted ? "yes" : "no"}});
    board_.change([](Snapshot &state) { ++state.commands; });
    if (readable)
        taker_->take_command(body, encrypted);
    else
        taker_->take_unreadable_command();
}

void AbecsLink::acknowledge(const std::optional<Fault> &fault) {
    if (!fault) {
        send_control(control::ack, FrameKind::ack);
        return;
    }
    note_fault(FaultStage::ack, *fault);
    acknowledge_badly(*fault);
}

void AbecsLink::acknowledge_badly(const Fault &fault) {
    switch (fault.kind) {
    case FaultKind::ack_nak:
        send_control(control::nak, FrameKind::nak);
        break;
    case FaultKind::ack_byte:
    case FaultKind::ack_garble:
        send_control(static_cast<std::uint8_t>(fault.number), FrameKind::noise);
        break;
    case FaultKind::ack_delay:
        line_.pause(fault.duration);
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

void AbecsLink::answer_can() {
    line_.drop_unsent();
    last_ = {};
    board_.change([](Snapshot &state) { ++state.aborts; });
    taker_->take_abort();
    const auto fault = faults_.strike(FaultStage::can);
    if (!fault) {
        send_control(control::eot, FrameKind::eot);
        return;
    }
    note_fault(FaultStage::can, *fault);
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

void AbecsLink::send(const std::string &command_id, const Bytes &body, bool encrypted) {
    const auto fault = faults_.strike(FaultStage::secure, command_id);
    PayloadDamage damage;
    if (fault) {
        note_fault(FaultStage::secure, *fault);
        encrypted = fault->kind != FaultKind::secure_plain;
        if (fault->kind == FaultKind::secure_len)
            damage.length_field = static_cast<std::uint16_t>(fault->number);
        if (fault->kind == FaultKind::secure_payload)
            damage.payload_size = fault->number;
        damage.wrong_crc = fault->kind == FaultKind::secure_bad_datacrc;
    }
    const Bytes payload = encrypted ? channel_.wrap(body, damage) : body;
    last_ = {command_id, body, encrypted, encode_frame(payload, encrypted), 0};
    transmit();
}

void AbecsLink::resend() {
    if (last_.frame.empty() || last_.sends >= max_sends)
        return;
    log_.note("resend", {{"number", std::to_string(last_.sends)}});
    board_.change([](Snapshot &state) { ++state.resends; });
    transmit();
}

void AbecsLink::transmit() {
    ++last_.sends;
    log_.add_frame(
        {Direction::to_host, {}, FrameKind::response, last_.encrypted, last_.body, last_.frame});
    const auto fault = faults_.strike(FaultStage::response, last_.command_id);
    if (!fault) {
        line_.send(last_.frame);
        return;
    }
    note_fault(FaultStage::response, *fault);
    transmit_damaged(*fault);
}

void AbecsLink::transmit_damaged(const Fault &fault) {
    const Bytes &frame = last_.frame;
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
        if (at < damaged.size())
            damaged[at] ^= 0xFF;
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

void AbecsLink::send_control(std::uint8_t byte, FrameKind kind) {
    log_.add_frame({Direction::to_host, {}, kind, false, {}, {byte}});
    line_.send({byte});
}

void AbecsLink::note_fault(FaultStage stage, const Fault &fault) {
    log_.note("fault", {{"stage", stage_word(stage)}, {"action", action_word(fault.kind)}});
    board_.change([](Snapshot &state) { ++state.faults_struck; });
}

} // namespace sim
