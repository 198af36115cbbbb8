#include "fuzz/memory_port.h"

#include "serial/port.h"

#include <algorithm>
#include <utility>

namespace memory_port {

namespace {

std::vector<std::vector<std::uint8_t>> pieces;
std::size_t piece = 0;
std::size_t next = 0;
std::vector<std::uint8_t> output;

} // namespace

void say(std::vector<std::vector<std::uint8_t>> said) {
    pieces = std::move(said);
    piece = 0;
    next = 0;
    output.clear();
}

void sayInput(const std::uint8_t *data, std::size_t size) {
    std::vector<std::vector<std::uint8_t>> said(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF && i + 1 < size && data[i + 1] == 0xFE) {
            said.emplace_back();
            ++i;
        } else {
            said.back().push_back(data[i]);
        }
    }
    say(std::move(said));
}

const std::vector<std::uint8_t> &written() {
    return output;
}

} // namespace memory_port

PclPortOpened pcl_port_open(PclSerialPort &port, const char *) {
    port.handle = 0;
    return {PclPortOpening::DONE, 0};
}

int pcl_port_close(PclSerialPort &port) {
    port.handle = PCL_PORT_NO_HANDLE;
    return 0;
}

int pcl_port_get_line(const PclSerialPort &, PclLine &) {
    return 0;
}

int pcl_port_set_line(PclSerialPort &, const PclLine &) {
    return 0;
}

void pcl_line_set_baud_rate(PclLine &, std::int32_t) {}
void pcl_line_set_data_bits(PclLine &, std::int32_t) {}
void pcl_line_set_stop_bits(PclLine &, std::int32_t) {}
void pcl_line_set_parity(PclLine &, std::int32_t) {}
void pcl_line_set_flow_control(PclLine &, std::int32_t) {}

int pcl_port_set_timeout(PclSerialPort &port, std::uint8_t tenths) {
    port.timeout.store(tenths);
    return 0;
}

// What is laid down has not arrived yet when the queue is purged.
int pcl_port_purge(PclSerialPort &, std::int32_t) {
    return 0;
}

int pcl_port_write(PclSerialPort &, const void *data, std::size_t count) {
    using namespace memory_port;
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    output.insert(output.end(), bytes, bytes + count);
    return 0;
}

PclPortRead pcl_port_read(PclSerialPort &, void *buffer, std::size_t count) {
    using namespace memory_port;
    auto *to = static_cast<std::uint8_t *>(buffer);
    std::size_t total = 0;
    while (total < count) {
        if (piece >= pieces.size()) {
            return {total, 0};
        }
        if (next >= pieces[piece].size()) {
            ++piece;
            next = 0;
            return {total, 0};
        }
        to[total++] = pieces[piece][next++];
    }
    return {total, 0};
}

bool pcl_port_is_gone(const PclSerialPort &) {
    return false;
}

int pcl_port_bytes_available(const PclSerialPort &, std::uint32_t &available) {
    using namespace memory_port;
    available = piece < pieces.size() ? static_cast<std::uint32_t>(pieces[piece].size() - next) : 0;
    return 0;
}
