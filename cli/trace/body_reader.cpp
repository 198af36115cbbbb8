#include "cli/trace/body_reader.h"

#include <algorithm>
#include <cstdio>

namespace cli {

namespace {

constexpr std::size_t LENGTH_DIGITS = 3;
constexpr std::size_t PARAM_HEADER_SIZE = 4;
constexpr int MAX_BLOCKS = 2;

unsigned bigEndian16(std::string_view bytes) {
    return static_cast<unsigned>(static_cast<std::uint8_t>(bytes[0]) << 8U |
                                 static_cast<std::uint8_t>(bytes[1]));
}

} // namespace

std::optional<std::string_view> BodyReader::take(std::size_t width) {
    if (left() < width) {
        return std::nullopt;
    }
    const std::string_view taken = m_body.substr(m_at, width);
    m_at += width;
    return taken;
}

std::optional<unsigned> BodyReader::takeDecimal(std::string_view name, std::size_t width) {
    const std::size_t before = m_at;
    const auto digits = take(width);
    const bool isNumber = digits && std::all_of(digits->begin(), digits->end(),
                                                [](char c) { return c >= '0' && c <= '9'; });
    if (!isNumber) {
        m_at = before;
        return std::nullopt;
    }
    addRow(std::string(name), std::string(*digits));
    return static_cast<unsigned>(std::stoul(std::string(*digits)));
}

void BodyReader::addRow(std::string name, std::string value, bool secret, std::size_t valueWidth) {
    m_rows.push_back(
        {std::move(name), std::move(value), m_rowBegin, m_at - valueWidth, m_at, secret});
    m_rowBegin = m_at;
}

bool BodyReader::takeParam(std::size_t &blockLeft, const AddParam &addParam) {
    if (blockLeft < PARAM_HEADER_SIZE || left() < PARAM_HEADER_SIZE) {
        return false;
    }
    const std::string_view header = m_body.substr(m_at, PARAM_HEADER_SIZE);
    const std::size_t size = bigEndian16(header.substr(2));
    if (blockLeft - PARAM_HEADER_SIZE < size || left() - PARAM_HEADER_SIZE < size) {
        return false;
    }
    m_at += PARAM_HEADER_SIZE + size;
    blockLeft -= PARAM_HEADER_SIZE + size;
    addParam(static_cast<std::uint16_t>(bigEndian16(header)), m_body.substr(m_at - size, size));
    return true;
}

void BodyReader::takeBlocks(const std::string &lengthName, const AddParam &addParam) {
    for (int block = 1; block <= MAX_BLOCKS && left() > 0; ++block) {
        const auto length = takeDecimal(lengthName + std::to_string(block), LENGTH_DIGITS);
        if (!length) {
            return;
        }
        std::size_t blockLeft = *length;
        while (takeParam(blockLeft, addParam)) {
        }
        if (blockLeft > 0) {
            return;
        }
    }
}

DecodedBody BodyReader::finish(std::string title) {
    if (left() > 0) {
        if (m_trusted < m_rows.size()) {
            m_rowBegin = m_rows[m_trusted].begin;
            m_rows.resize(m_trusted);
        }
        m_at = m_body.size();
        const std::size_t count = m_at - m_rowBegin;
        addRow("not understood", byteCount(count), true, count);
    }
    return {std::move(title), std::move(m_rows)};
}

std::string idText(std::uint16_t id) {
    char text[8];
    std::snprintf(text, sizeof text, "%04X", static_cast<unsigned>(id));
    return text;
}

std::string byteCount(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

} // namespace cli
