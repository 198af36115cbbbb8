#pragma once

#include "cli/trace/row.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace cli {

/// Walks a body from its front and gathers the rows. When the body does not fit the expected
/// layout, all that follows its trusted rows becomes one row, which is secret: nobody can tell what
/// is in it.
class BodyReader {
public:
    explicit BodyReader(std::string_view body) : m_body(body) {}

    std::size_t left() const { return m_body.size() - m_at; }

    /// Takes a field of that width; takes and returns nothing when the body is shorter.
    std::optional<std::string_view> take(std::size_t width);

    /// Takes a decimal field.
    std::optional<unsigned> takeDecimal(std::string_view name, std::size_t width);

    /// Makes a row of what was taken since the last row.
    void addRow(std::string name, std::string value, bool secret, std::size_t valueWidth);
    void addRow(std::string name, std::string value = "") {
        addRow(std::move(name), std::move(value), false, 0);
    }

    /// Trusts the rows so far, whatever follows.
    void trustRows() { m_trusted = m_rows.size(); }

    /// Makes the row for a parameter of which header and value have just been taken.
    using AddParam = std::function<void(std::uint16_t id, std::string_view value)>;

    /// Takes the block length fields, named `lengthName` and a number, and the parameters.
    void takeBlocks(const std::string &lengthName, const AddParam &addParam);

    /// Ends the walk.
    DecodedBody finish(std::string title);

private:
    bool takeParam(std::size_t &blockLeft, const AddParam &addParam);

    std::string_view m_body;
    std::size_t m_at = 0;
    std::size_t m_rowBegin = 0;
    std::vector<Row> m_rows;
    std::size_t m_trusted = 0;
};

/// "000B" for 11.
std::string idText(std::uint16_t id);

/// "1 byte", "2 bytes".
std::string byteCount(std::size_t count);

} // namespace cli
