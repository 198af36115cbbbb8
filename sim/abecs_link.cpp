#include "sim/abecs_link.h"

#include "sim/text.h"

#include <optional>

namespace sim {

namespace {

std::string id_of(const Bytes &body) {
    constexpr std::size_t id_length = 3;
    return to_text(body).substr(0, id_length);
}

} // namespace

void AbecsLink::feed(std::uint8_t byte) {
    const FrameReader::Result result = reader_.feed(byte);
    if (result == FrameReader::Result::good) {
        take_good_frame();
    } else if (result == FrameReader::Result::bad) {
        transmitter_.refuse(frame_read(FrameKind::bad_command), "crc");
    }
}

void AbecsLink::give_up() {
    reader_.abandon();
    transmitter_.refuse(frame_read(FrameKind::bad_command), "gap");
}

WireFrame AbecsLink::frame_read(FrameKind kind) const {
    return {Direction::from_host, {}, kind, reader_.encrypted(), reader_.body(), reader_.raw()};
}

void AbecsLink::take_good_frame() {
    WireFrame frame = frame_read(FrameKind::command);
    bool readable = true;
    if (frame.encrypted) {
        const auto plain = channel_.on() ? channel_.unwrap(frame.body) : std::nullopt;
        readable = plain.has_value();
        frame.body = plain.value_or(Bytes{});
    }
    const Bytes body = frame.body;
    const std::string id = id_of(body);
    const auto fault = transmitter_.strike(FaultStage::ack, id);
    const bool executed = Transmitter::executed_despite(fault);
    frame.kind = executed ? FrameKind::command : FrameKind::bad_command;
    log_.add_frame(frame);
    transmitter_.acknowledge(fault);
    if (!executed) {
        return;
    }
    transmitter_.forget();
    log_.note("command", {{"id", id}, {"encrypted", frame.encrypted ? "yes" : "no"}});
    board_.change([](Snapshot &state) { ++state.commands; });
    if (readable) {
        taker_->take_command(body, frame.encrypted);
    } else {
        taker_->take_unreadable_command();
    }
}

void AbecsLink::send(const std::string &command_id, const Bytes &body, bool encrypted) {
    const auto fault = transmitter_.strike(FaultStage::secure, command_id);
    PayloadDamage damage;
    if (fault) {
        encrypted = fault->kind != FaultKind::secure_plain;
        if (fault->kind == FaultKind::secure_len) {
            damage.length_field = static_cast<std::uint16_t>(fault->number);
        }
        if (fault->kind == FaultKind::secure_payload) {
            damage.payload_size = fault->number;
        }
        damage.wrong_crc = fault->kind == FaultKind::secure_bad_datacrc;
    }
    const Bytes payload = encrypted ? channel_.wrap(body, damage) : body;
    transmitter_.send(
        {command_id, body, encrypted, encode_frame(payload, encrypted), Framing::abecs});
}

} // namespace sim
