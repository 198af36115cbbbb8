#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

using Bytes = std::vector<std::uint8_t>;

// The keys of the keypad besides the ten digits.
enum class Key { enter, cancel, clear, backspace, up, down, f1, f2, f3, f4 };

// The magnetic stripe of a card; a track that the card lacks is empty.
struct Card {
    std::string track1;
    std::string track2;
    std::string track3;
};

enum class ChipSlot { empty, card_inserted };

// On the line; shorter names are filled up with blanks.
constexpr std::size_t media_name_size = 8;

// A file in the device's media store.
struct MediaFile {
    std::string name;
    std::uint8_t type = 0;
    std::uint16_t crc = 0;
    Bytes content;
};

// What the screen is made of at the moment.
enum class ScreenKind { blank, text, prompt, media, qr_code, survey };

} // namespace sim
