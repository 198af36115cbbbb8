#include "cli/qr_code.h"

#include <cstddef>
#include <memory>

#include <qrencode.h>

namespace cli {

namespace {

struct CodeRelease {
    void operator()(QRcode *code) const { QRcode_free(code); }
};

using CodePtr = std::unique_ptr<QRcode, CodeRelease>;

CodePtr encode(const std::string &bytes, QRecLevel level) {
    return CodePtr(QRcode_encodeData(static_cast<int>(bytes.size()),
                                     reinterpret_cast<const unsigned char *>(bytes.data()), 0,
                                     level));
}

bool isDark(const QRcode &code, std::size_t index) {
    return (code.data[index] & 1U) != 0;
}

} // namespace

QrModules makeQrCode(const std::string &bytes) {
    if (bytes.empty()) {
        return {};
    }
    // The longest texts leave room for the lowest level of correction only.
    CodePtr code = encode(bytes, QR_ECLEVEL_M);
    if (!code) {
        code = encode(bytes, QR_ECLEVEL_L);
    }
    if (!code) {
        return {};
    }
    const auto width = static_cast<std::size_t>(code->width);
    QrModules rows;
    for (std::size_t y = 0; y < width; ++y) {
        rows.emplace_back();
        for (std::size_t x = 0; x < width; ++x) {
            rows.back() += isDark(*code, y * width + x) ? '1' : '0';
        }
    }
    return rows;
}

} // namespace cli
