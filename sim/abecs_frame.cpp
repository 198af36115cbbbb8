#include "sim/abecs_frame.h"

#include "sim/control.h"
#include "sim/crc16.h"

namespace sim {

namespace {

constexpr std::uint8_t stuffing_offset = 0x20;

// Far longer than any command.
constexpr std::size_t max_body = 8192;

bool needs_stuffing(std::uint8_t byte) {
    return byte == control::dc3 || byte == control::syn || byte == control::etb;
}

std::uint16_t frame_crc(const Bytes &body, bool encrypted) {
    Bytes covered;
    covered.reserve(body.size() + 2);
    if (encrypted) {
        covered.push_back(control::dc2);
    }
    covered.insert(covered.end(), body.begin(), body.end());
    covered.push_back(control::etb);
    return crc16(covered);
}

} // namespace

Bytes encode_frame(const Bytes &body, bool encrypted) {
    Bytes frame{control::syn};
    if (encrypted) {
        frame.push_back(control::dc2);
    }
    for (std::uint8_t byte : body) {
        if (needs_stuffing(byte)) {
            frame.push_back(control::dc3);
            frame.push_back(static_cast<std::uint8_t>(byte + stuffing_offset));
        } else {
            frame.push_back(byte);
        }
    }
    const std::uint16_t crc = frame_crc(body, encrypted);
    frame.push_back(control::etb);
    frame.push_back(static_cast<std::uint8_t>(crc >> 8));
    frame.push_back(static_cast<std::uint8_t>(crc & 0xFF));
    return frame;
}

void FrameReader::begin() {
    state_ = State::first;
    encrypted_ = false;
    body_.clear();
    raw_.assign(1, control::syn);
}

FrameReader::Result FrameReader::feed(std::uint8_t byte) {
    raw_.push_back(byte);
    switch (state_) {
    case State::idle:
        return Result::bad;
    case State::first:
        state_ = State::data;
        if (byte == control::dc2) {
            encrypted_ = true;
            return Result::more;
        }
        return take_data(byte);
    case State::data:
        return take_data(byte);
    case State::escape:
        body_.push_back(static_cast<std::uint8_t>(byte - stuffing_offset));
        state_ = State::data;
        return Result::more;
    case State::crc_high:
        crc_high_ = byte;
        state_ = State::crc_low;
        return Result::more;
    case State::crc_low:
        return finish(byte);
    }
    return Result::bad;
}

FrameReader::Result FrameReader::take_data(std::uint8_t byte) {
    switch (byte) {
    case control::syn:
        begin();
        return Result::more;
    case control::etb:
        state_ = State::crc_high;
        return Result::more;
    case control::dc3:
        state_ = State::escape;
        return Result::more;
    default:
        break;
    }
    if (body_.size() == max_body) {
        state_ = State::idle;
        return Result::bad;
    }
    body_.push_back(byte);
    return Result::more;
}

FrameReader::Result FrameReader::finish(std::uint8_t byte) {
    state_ = State::idle;
    const auto received = static_cast<std::uint16_t>(crc_high_ << 8 | byte);
    return received == frame_crc(body_, encrypted_) ? Result::good : Result::bad;
}

} // namespace sim
