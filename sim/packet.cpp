#include "sim/packet.h"

#include "sim/text.h"

#include <algorithm>

namespace sim {

namespace {

constexpr std::size_t id_length = 3;
constexpr std::size_t length_digits = 3;
constexpr std::size_t max_block = 999;
constexpr std::size_t record_header = 4;

[[noreturn]] void refuse_malformed() {
    throw Refusal(status::invalid_parameter);
}

std::size_t read_u16(const Bytes &bytes, std::size_t at) {
    return static_cast<std::size_t>(bytes[at]) << 8 | bytes[at + 1];
}

void append_u16(Bytes &out, std::size_t number) {
    out.push_back(static_cast<std::uint8_t>(number >> 8 & 0xFF));
    out.push_back(static_cast<std::uint8_t>(number & 0xFF));
}

void append(Bytes &out, const Bytes &more) {
    out.insert(out.end(), more.begin(), more.end());
}

void append_block(Bytes &out, const Bytes &block) {
    append(out, to_bytes(zero_filled(block.size(), length_digits)));
    append(out, block);
}

void read_records(const Bytes &block, std::vector<Param> &params) {
    std::size_t at = 0;
    while (at < block.size()) {
        if (block.size() - at < record_header) {
            refuse_malformed();
        }
        const std::size_t length = read_u16(block, at + 2);
        if (block.size() - at - record_header < length) {
            refuse_malformed();
        }
        const auto begin = block.begin() + static_cast<std::ptrdiff_t>(at + record_header);
        params.push_back({static_cast<std::uint16_t>(read_u16(block, at)),
                          Bytes(begin, begin + static_cast<std::ptrdiff_t>(length))});
        at += record_header + length;
    }
}

} // namespace

Request read_request(const Bytes &body) {
    if (body.size() < id_length) {
        refuse_malformed();
    }
    const auto split = body.begin() + id_length;
    Request request{{body.begin(), split}, {split, body.end()}};
    const bool printable = std::all_of(request.id.begin(), request.id.end(),
                                       [](char c) { return c >= 0x20 && c <= 0x7E; });
    if (!printable) {
        refuse_malformed();
    }
    return request;
}

std::vector<Bytes> read_blocks(const Bytes &rest) {
    std::vector<Bytes> blocks;
    const std::string text = to_text(rest);
    std::size_t at = 0;
    while (at < rest.size()) {
        const auto length = read_decimal(std::string_view(text).substr(at, length_digits));
        if (rest.size() - at < length_digits || !length || *length == 0) {
            refuse_malformed();
        }
        at += length_digits;
        if (rest.size() - at < *length) {
            refuse_malformed();
        }
        const auto begin = rest.begin() + static_cast<std::ptrdiff_t>(at);
        blocks.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(*length));
        at += *length;
    }
    return blocks;
}

std::vector<Param> read_params(const Bytes &rest) {
    constexpr std::size_t max_blocks = 2;
    const std::vector<Bytes> blocks = read_blocks(rest);
    if (blocks.size() > max_blocks) {
        refuse_malformed();
    }
    std::vector<Param> params;
    for (const Bytes &block : blocks) {
        read_records(block, params);
    }
    return params;
}

void allow_only(const std::vector<Param> &params, std::initializer_list<std::uint16_t> ids) {
    for (const Param &param : params) {
        if (std::find(ids.begin(), ids.end(), param.id) == ids.end()) {
            refuse_malformed();
        }
    }
}

const Bytes *find_param(const std::vector<Param> &params, std::uint16_t id) {
    const Bytes *found = nullptr;
    for (const Param &param : params) {
        if (param.id != id) {
            continue;
        }
        if (found != nullptr) {
            refuse_malformed();
        }
        found = &param.value;
    }
    return found;
}

const Bytes &need_param(const std::vector<Param> &params, std::uint16_t id, std::size_t size) {
    const Bytes *value = find_param(params, id);
    if (value == nullptr) {
        throw Refusal(status::missing_parameter);
    }
    if (value->size() != size) {
        refuse_malformed();
    }
    return *value;
}

void check_text(const Bytes &text, bool extended, bool line_breaks) {
    for (std::uint8_t byte : text) {
        if (byte == '\r' && line_breaks) {
            continue;
        }
        if (byte < 0x20 || (byte > 0x7E && !extended)) {
            refuse_malformed();
        }
    }
}

Response make_response(const std::string &id, unsigned code) {
    Response response;
    response.id = id;
    response.status = zero_filled(code, 3);
    return response;
}

Bytes write_response(const Response &response) {
    Bytes body = to_bytes(response.id + response.status);
    if (!response.rest.empty()) {
        append(body, response.rest);
        return body;
    }
    if (!response.tail.empty()) {
        append_block(body, response.tail);
        return body;
    }
    Bytes blocks[2];
    for (const Param &param : response.params) {
        const std::size_t size = record_header + param.value.size();
        const bool first = blocks[1].empty() && blocks[0].size() + size <= max_block;
        Bytes &block = blocks[first ? 0 : 1];
        if (block.size() + size > max_block) {
            return to_bytes(response.id + zero_filled(status::response_overflow, 3));
        }
        append_u16(block, param.id);
        append_u16(block, param.value.size());
        append(block, param.value);
    }
    for (const Bytes &block : blocks) {
        if (!block.empty()) {
            append_block(body, block);
        }
    }
    return body;
}

} // namespace sim
