// The readers of fields. The first byte chooses the reader, the second the width; what was read is
// written again where that must give the same bytes.

#include "abecs/packet.h"
#include "fuzz/check.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t MOST = 255;

AbecsPacketPtr packetOf(const std::uint8_t *data, std::size_t size) {
    AbecsPacketPtr packet(abecsPacketCreate());
    abecsFieldPutBytes(packet.get(), data, size);
    return packet;
}

void requireSame(AbecsPacket *packet, const std::uint8_t *data, std::size_t size) {
    FUZZ_CHECK(abecsPacketAvailable(packet) == size);
    for (std::size_t i = 0; i < size; ++i) {
        FUZZ_CHECK(abecsPacketReadByte(packet) == data[i]);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 2 || size > ABECS_PACKET_CAPACITY) {
        return 0;
    }
    const unsigned reader = data[0] % 8;
    const std::size_t width = data[1];
    const std::uint8_t *field = data + 2;
    const std::size_t available = size - 2;
    const AbecsPacketPtr packet = packetOf(field, available);
    const AbecsPacketPtr again(abecsPacketCreate());
    std::array<char, MOST + 1> text;
    text.fill('#');
    bool written = false;
    const PclException failure = pcl_attempt([&] {
        switch (reader) {
        case 0:
            abecsFieldGetAlpha(packet.get(), text.data(), text.size(), width, 0);
            abecsFieldPutAlpha(again.get(), text.data(), width, 0);
            written = true;
            break;
        case 1:
            abecsFieldGetAlphaExt(packet.get(), text.data(), text.size(), width, 1);
            abecsFieldPutAlphaExt(again.get(), text.data(), width, 1);
            written = true;
            break;
        case 2:
            abecsFieldPutNumber(again.get(), abecsFieldGetNumber(packet.get(), width), width);
            written = true;
            break;
        case 3:
            abecsFieldGetHex(packet.get(), text.data(), text.size(), width);
            break;
        case 4:
            abecsFieldGetHexText(packet.get(), text.data(), text.size(), width);
            FUZZ_CHECK(std::memchr(text.data(), fuzz::NUL, width + 1) != nullptr);
            break;
        case 5:
            abecsFieldPutBinary(again.get(), abecsFieldGetBinary(packet.get(), width), width);
            written = true;
            break;
        case 6:
            FUZZ_CHECK(abecsFieldGetBytes(packet.get(), text.data(), text.size(), width) <= width);
            break;
        default:
            abecsFieldGetAlpha(packet.get(), nullptr, 0, width, 1);
            break;
        }
    });
    // A width that no field of the kind has is the caller's mistake.
    FUZZ_CHECK(fuzz::isAllowed(failure) || failure.code == PCL_RESULT_ILLEGAL_ARGUMENT);
    FUZZ_CHECK(available - abecsPacketAvailable(packet.get()) <= width);
    // A text ends at its first NUL, whatever its field holds after that.
    const bool cut = reader <= 1 && std::memchr(field, '\0', std::min(width, available)) != nullptr;
    if (!failure && written && !cut) {
        requireSame(again.get(), field, width);
    }
    return 0;
}
