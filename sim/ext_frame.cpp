#include "sim/ext_frame.h"

#include "sim/control.h"

#include <functional>
#include <numeric>

namespace sim {

namespace {

// STX, two bytes of length, ETX and the check byte.
constexpr std::size_t overhead = 5;
// The longest body that the device has room for.
constexpr std::size_t max_body = 4096;

} // namespace

Bytes encode_ext_frame(const Bytes &body) {
    const std::size_t length = body.size() + overhead;
    Bytes frame;
    frame.reserve(length);
    frame.push_back(control::stx);
    frame.push_back(static_cast<std::uint8_t>(length >> 8));
    frame.push_back(static_cast<std::uint8_t>(length & 0xFF));
    frame.insert(frame.end(), body.begin(), body.end());
    frame.push_back(control::etx);
    frame.push_back(
        std::accumulate(frame.begin(), frame.end(), std::uint8_t{0}, std::bit_xor<std::uint8_t>()));
    return frame;
}

void ExtFrameReader::begin() {
    state_ = State::length_high;
    check_ = control::stx;
    body_.clear();
    raw_ = {control::stx};
}

ExtFrameReader::Result ExtFrameReader::feed(std::uint8_t byte) {
    raw_.push_back(byte);
    const std::uint8_t check_before = check_;
    check_ ^= byte;
    switch (state_) {
    case State::length_high:
        length_ = static_cast<std::size_t>(byte) << 8;
        state_ = State::length_low;
        return Result::more;
    case State::length_low:
        length_ |= byte;
        return take_length();
    case State::data:
        body_.push_back(byte);
        if (body_.size() == length_) {
            state_ = State::end;
        }
        return Result::more;
    case State::end:
        state_ = State::check;
        return byte == control::etx ? Result::more : finish(false);
    case State::check:
        return finish(byte == check_before);
    case State::idle:
        break;
    }
    return finish(false);
}

ExtFrameReader::Result ExtFrameReader::take_length() {
    if (length_ < overhead || length_ - overhead > max_body) {
        return finish(false);
    }
    length_ -= overhead;
    body_.reserve(length_);
    state_ = length_ == 0 ? State::end : State::data;
    return Result::more;
}

ExtFrameReader::Result ExtFrameReader::finish(bool good) {
    state_ = State::idle;
    return good ? Result::good : Result::bad;
}

} // namespace sim
