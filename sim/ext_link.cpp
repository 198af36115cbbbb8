#include "sim/ext_link.h"

#include "sim/text.h"

namespace sim {

void ExtLink::feed(std::uint8_t byte) {
    const ExtFrameReader::Result result = reader_.feed(byte);
    if (result == ExtFrameReader::Result::good) {
        take_good_frame();
    } else if (result == ExtFrameReader::Result::bad) {
        transmitter_.refuse(frame_read(FrameKind::bad_command), "check byte");
    }
}

void ExtLink::give_up() {
    reader_.abandon();
    transmitter_.refuse(frame_read(FrameKind::bad_command), "gap");
}

WireFrame ExtLink::frame_read(FrameKind kind) const {
    return {Direction::from_host, {}, kind, false, reader_.body(), reader_.raw(),
            Framing::extension};
}

void ExtLink::take_good_frame() {
    constexpr std::size_t id_length = 4;
    const Bytes body = reader_.body();
    const std::string id = to_text(body).substr(0, id_length);
    const auto fault = transmitter_.strike(FaultStage::ack, id);
    const bool executed = Transmitter::executed_despite(fault);
    log_.add_frame(frame_read(executed ? FrameKind::command : FrameKind::bad_command));
    transmitter_.acknowledge(fault);
    if (!executed) {
        return;
    }
    transmitter_.forget();
    log_.note("command", {{"id", id}, {"encrypted", "no"}});
    board_.change([](Snapshot &state) { ++state.commands; });
    taker_->take_ext_command(body);
}

void ExtLink::send(const std::string &command_id, const Bytes &body) {
    transmitter_.send({command_id, body, false, encode_ext_frame(body), Framing::extension});
}

} // namespace sim
