#include "sim/host_line.h"

#include "sim/control.h"

namespace sim {

HostLine::HostLine(boost::asio::io_context &io, PtyLine &line, AbecsLink &abecs, ExtLink &extension,
                   Transmitter &transmitter, Logbook &log, StateBoard &board,
                   std::chrono::milliseconds frame_gap)
    : line_(line), abecs_(abecs), extension_(extension), transmitter_(transmitter), log_(log),
      board_(board), frame_gap_(frame_gap), gap_timer_(io) {}

void HostLine::receive(const Bytes &bytes) {
    gap_timer_.cancel();
    for (std::uint8_t byte : bytes) {
        receive_byte(byte);
    }
    flush_noise();
    watch_gap();
}

void HostLine::reset() {
    gap_timer_.cancel();
    abecs_.reset();
    extension_.reset();
    transmitter_.forget();
    noise_.clear();
}

void HostLine::watch_gap() {
    if (abecs_.active()) {
        gap_timer_.after(frame_gap_, [this] { abecs_.give_up(); });
    } else if (extension_.active()) {
        gap_timer_.after(frame_gap_, [this] { extension_.give_up(); });
    }
}

void HostLine::receive_byte(std::uint8_t byte) {
    if (abecs_.active()) {
        abecs_.feed(byte);
    } else if (extension_.active()) {
        extension_.feed(byte);
    } else {
        receive_outside_frames(byte);
    }
}

void HostLine::receive_outside_frames(std::uint8_t byte) {
    switch (byte) {
    case control::syn:
        flush_noise();
        abecs_.begin();
        break;
    case control::stx:
        flush_noise();
        extension_.begin();
        break;
    case control::can:
        log_control(byte, FrameKind::can);
        line_.drop_unsent();
        transmitter_.forget();
        board_.change([](Snapshot &state) { ++state.aborts; });
        taker_->take_abort();
        transmitter_.end_transmission();
        break;
    case control::nak:
        log_control(byte, FrameKind::nak);
        transmitter_.resend();
        break;
    case control::ack:
        log_control(byte, FrameKind::ack);
        break;
    case control::eot:
        log_control(byte, FrameKind::eot);
        taker_->take_stop();
        break;
    default:
        noise_.push_back(byte);
        break;
    }
}

void HostLine::log_control(std::uint8_t byte, FrameKind kind) {
    flush_noise();
    log_.add_frame({Direction::from_host, {}, kind, false, {}, {byte}});
}

void HostLine::flush_noise() {
    if (noise_.empty()) {
        return;
    }
    log_.add_frame({Direction::from_host, {}, FrameKind::noise, false, {}, noise_});
    noise_.clear();
}

} // namespace sim
