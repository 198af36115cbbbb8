#include "sim/qr_matrix.h"

#include <memory>

#include <qrencode.h>

namespace sim {

namespace {

using Code = std::unique_ptr<QRcode, decltype(&QRcode_free)>;

Code encode(const std::string &text, QRecLevel level) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(text.data());
    return {QRcode_encodeData(static_cast<int>(text.size()), bytes, 0, level), &QRcode_free};
}

} // namespace

std::vector<std::string> qr_matrix(const std::string &text) {
    if (text.empty()) {
        return {};
    }
    Code code = encode(text, QR_ECLEVEL_M);
    if (code == nullptr) {
        code = encode(text, QR_ECLEVEL_L);
    }
    if (code == nullptr) {
        return {};
    }
    const auto side = static_cast<std::size_t>(code->width);
    std::vector<std::string> rows(side, std::string(side, '0'));
    for (std::size_t y = 0; y < side; ++y) {
        for (std::size_t x = 0; x < side; ++x) {
            if ((code->data[y * side + x] & 1) != 0) {
                rows[y][x] = '1';
            }
        }
    }
    return rows;
}

} // namespace sim
