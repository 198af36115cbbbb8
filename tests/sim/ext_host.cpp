#include "tests/sim/ext_host.h"

namespace sim_test {

namespace {

constexpr std::size_t overhead = 5;

} // namespace

Bytes ext_frame(const std::string &body) {
    const std::size_t length = body.size() + overhead;
    Bytes frame = bytes(body);
    frame.insert(frame.begin(),
                 {stx, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
    frame.push_back(etx);
    unsigned check = 0;
    for (std::uint8_t byte : frame)
        check ^= byte;
    frame.push_back(static_cast<std::uint8_t>(check));
    return frame;
}

std::string ext_answer(Host &host, milliseconds timeout) {
    Bytes frame;
    for (auto byte = host.read_byte(timeout); byte; byte = host.read_byte()) {
        frame.push_back(*byte);
        if (frame.size() < 3)
            continue;
        const std::size_t length = static_cast<std::size_t>(frame[1]) << 8 | frame[2];
        if (frame.size() < length)
            continue;
        if (length < overhead)
            return "<length of " + std::to_string(length) + ">";
        const std::string body(frame.begin() + 3, frame.end() - 2);
        return frame == ext_frame(body) ? body : "<damaged>";
    }
    return frame.empty() ? "<nothing>" : "<cut>";
}

std::string ext_ask(Host &host, const std::string &body) {
    host.write(ext_frame(body));
    return host.read_byte() == ack ? ext_answer(host) : "<no ack>";
}

bool ext_start(Host &host, const std::string &body) {
    host.write(ext_frame(body));
    return host.read_byte() == ack;
}

} // namespace sim_test
