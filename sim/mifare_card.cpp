#include "sim/mifare_card.h"

#include <algorithm>
#include <limits>

namespace sim {

namespace {

using Result = MifareCard::Result;
using Block = MifareCard::Block;

constexpr std::size_t access_at = 6;
constexpr std::size_t access_size = 3;
constexpr std::size_t user_byte_at = 9;
constexpr std::uint8_t factory_user_byte = 0x69;

// Who may do something: nobody, the holder of one of the keys, or of either.
constexpr std::uint8_t nobody = 0;
constexpr std::uint8_t a = 1;
constexpr std::uint8_t b = 2;
constexpr std::uint8_t both = a | b;

// All tables go by the access bits as the number C1 C2 C3.
struct DataRights {
    std::uint8_t read, write, increment, decrement;
};
constexpr std::array<DataRights, 8> data_rights{{
    {both, both, both, both},       // 000
    {both, nobody, nobody, both},   // 001
    {both, nobody, nobody, nobody}, // 010
    {b, b, nobody, nobody},         // 011
    {both, b, nobody, nobody},      // 100
    {b, nobody, nobody, nobody},    // 101
    {both, b, b, both},             // 110
    {nobody, nobody, nobody, nobody},
}};

struct TrailerRights {
    std::uint8_t write_a, read_access, write_access, read_b, write_b;
};
constexpr std::array<TrailerRights, 8> trailer_rights{{
    {a, a, nobody, a, a},                   // 000
    {a, a, a, a, a},                        // 001
    {nobody, a, nobody, a, nobody},         // 010
    {b, both, b, nobody, b},                // 011
    {b, both, nobody, nobody, b},           // 100
    {nobody, both, b, nobody, nobody},      // 101
    {nobody, both, nobody, nobody, nobody}, // 110
    {nobody, both, nobody, nobody, nobody},
}};

std::uint8_t may_read(std::uint8_t bits) {
    return data_rights.at(bits).read;
}
std::uint8_t may_write_data(std::uint8_t bits) {
    return data_rights.at(bits).write;
}
std::uint8_t may_increment(std::uint8_t bits) {
    return data_rights.at(bits).increment;
}
std::uint8_t may_decrement(std::uint8_t bits) {
    return data_rights.at(bits).decrement;
}
std::uint8_t may_write_a(std::uint8_t bits) {
    return trailer_rights.at(bits).write_a;
}
std::uint8_t may_read_access(std::uint8_t bits) {
    return trailer_rights.at(bits).read_access;
}
std::uint8_t may_write_access(std::uint8_t bits) {
    return trailer_rights.at(bits).write_access;
}
std::uint8_t may_read_b(std::uint8_t bits) {
    return trailer_rights.at(bits).read_b;
}
std::uint8_t may_write_b(std::uint8_t bits) {
    return trailer_rights.at(bits).write_b;
}

std::size_t sector_of(std::size_t block) {
    return block / MifareCard::blocks_per_sector;
}

std::size_t trailer_of(std::size_t block) {
    return sector_of(block) * MifareCard::blocks_per_sector + MifareCard::blocks_per_sector - 1;
}

bool is_trailer(std::size_t block) {
    return trailer_of(block) == block;
}

std::size_t key_at(MifareCard::KeyKind kind) {
    return kind == MifareCard::KeyKind::a ? 0 : MifareCard::block_size - MifareCard::key_size;
}

void copy_part(const Block &from, Block &to, std::size_t at, std::size_t size) {
    std::copy_n(from.begin() + static_cast<std::ptrdiff_t>(at), size,
                to.begin() + static_cast<std::ptrdiff_t>(at));
}

void blank_part(Block &block, std::size_t at, std::size_t size) {
    std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(at), size, std::uint8_t{0});
}

// The value three times, inverted in the middle, and the block's number four times, every second
// one inverted.
Block value_block(std::int32_t value, std::uint8_t address) {
    Block block{};
    const auto number = static_cast<std::uint32_t>(value);
    for (std::size_t i = 0; i < 4; ++i) {
        const auto byte = static_cast<std::uint8_t>(number >> (8 * i) & 0xFF);
        const auto inverted = static_cast<std::uint8_t>(~byte);
        block.at(i) = byte;
        block.at(4 + i) = inverted;
        block.at(8 + i) = byte;
        block.at(12 + i) = i % 2 == 0 ? address : static_cast<std::uint8_t>(~address);
    }
    return block;
}

std::optional<std::int32_t> value_in(const Block &block) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number |= static_cast<std::uint32_t>(block.at(i)) << (8 * i);
    }
    const auto value = static_cast<std::int32_t>(number);
    if (block != value_block(value, block.at(12))) {
        return std::nullopt;
    }
    return value;
}

// Byte 6 holds the inverted C2 and C1, byte 7 C1 and the inverted C3, byte 8 C3 and C2; four bits
// each, one for each block of the sector.
struct AccessNibbles {
    std::uint8_t c1, c2, c3;
};

std::optional<AccessNibbles> nibbles_in(const Block &trailer) {
    const unsigned first = trailer.at(access_at);
    const unsigned second = trailer.at(access_at + 1);
    const unsigned third = trailer.at(access_at + 2);
    const unsigned c1 = second >> 4;
    const unsigned c2 = third & 0xF;
    const unsigned c3 = third >> 4;
    const bool agree =
        (first & 0xF) == (c1 ^ 0xF) && first >> 4 == (c2 ^ 0xF) && (second & 0xF) == (c3 ^ 0xF);
    if (!agree) {
        return std::nullopt;
    }
    return AccessNibbles{static_cast<std::uint8_t>(c1), static_cast<std::uint8_t>(c2),
                         static_cast<std::uint8_t>(c3)};
}

void put_nibbles(Block &trailer, const AccessNibbles &nibbles) {
    const unsigned c1 = nibbles.c1;
    const unsigned c2 = nibbles.c2;
    const unsigned c3 = nibbles.c3;
    trailer.at(access_at) = static_cast<std::uint8_t>((c2 ^ 0xF) << 4 | (c1 ^ 0xF));
    trailer.at(access_at + 1) = static_cast<std::uint8_t>(c1 << 4 | (c3 ^ 0xF));
    trailer.at(access_at + 2) = static_cast<std::uint8_t>(c3 << 4 | c2);
}

void set_bit(std::uint8_t &nibble, std::size_t index, bool on) {
    const unsigned mask = 1U << index;
    nibble = static_cast<std::uint8_t>(on ? nibble | mask : nibble & ~mask);
}

void put_access(Block &trailer, std::size_t block, MifareCard::Access access) {
    AccessNibbles nibbles = nibbles_in(trailer).value_or(AccessNibbles{0, 0, 0});
    const std::size_t index = block % MifareCard::blocks_per_sector;
    set_bit(nibbles.c1, index, access.c1);
    set_bit(nibbles.c2, index, access.c2);
    set_bit(nibbles.c3, index, access.c3);
    put_nibbles(trailer, nibbles);
}

void put_key(Block &trailer, MifareCard::KeyKind kind, const MifareCard::Key &key) {
    std::copy(key.begin(), key.end(), trailer.begin() + static_cast<std::ptrdiff_t>(key_at(kind)));
}

} // namespace

MifareCard::MifareCard(const Uid &uid) : uid_(uid) {
    std::copy(uid.begin(), uid.end(), blocks_.front().begin());
    std::uint8_t check = 0;
    for (std::uint8_t byte : uid) {
        check ^= byte;
    }
    blocks_.front().at(uid_size) = check;
    Key factory_key;
    factory_key.fill(0xFF);
    for (std::size_t sector = 0; sector < sector_count; ++sector) {
        const std::size_t trailer = trailer_of(sector * blocks_per_sector);
        put_nibbles(blocks_.at(trailer), {0, 0, 1U << (blocks_per_sector - 1)});
        blocks_.at(trailer).at(user_byte_at) = factory_user_byte;
        set_key(sector, KeyKind::a, factory_key);
        set_key(sector, KeyKind::b, factory_key);
    }
}

void MifareCard::set_value(std::size_t block, std::int32_t value) {
    blocks_.at(block) = value_block(value, static_cast<std::uint8_t>(block));
}

void MifareCard::set_key(std::size_t sector, KeyKind kind, const Key &key) {
    put_key(blocks_.at(trailer_of(sector * blocks_per_sector)), kind, key);
}

void MifareCard::set_access(std::size_t block, Access access) {
    put_access(blocks_.at(trailer_of(block)), block, access);
}

std::optional<MifareCard::Access> MifareCard::access(std::size_t block) const {
    const auto nibbles = nibbles_in(blocks_.at(trailer_of(block)));
    if (!nibbles) {
        return std::nullopt;
    }
    const std::size_t index = block % blocks_per_sector;
    return Access{(nibbles->c1 >> index & 1) != 0, (nibbles->c2 >> index & 1) != 0,
                  (nibbles->c3 >> index & 1) != 0};
}

MifareCard::Key MifareCard::key(std::size_t sector, KeyKind kind) const {
    const Block &trailer = blocks_.at(trailer_of(sector * blocks_per_sector));
    Key key{};
    std::copy_n(trailer.begin() + static_cast<std::ptrdiff_t>(key_at(kind)), key_size, key.begin());
    return key;
}

std::uint8_t MifareCard::bits(std::size_t block) const {
    const Access found = access(block).value_or(Access{true, true, true});
    return static_cast<std::uint8_t>((found.c1 ? 4 : 0) | (found.c2 ? 2 : 0) | (found.c3 ? 1 : 0));
}

bool MifareCard::key_b_is_readable(std::size_t sector) const {
    return may_read_b(bits(trailer_of(sector * blocks_per_sector))) != nobody;
}

Result MifareCard::authenticate(std::size_t block, KeyKind kind, const Key &tried) {
    proved_.reset();
    if (tried != key(sector_of(block), kind)) {
        return Result::wrong_key;
    }
    proved_ = {sector_of(block), kind};
    return Result::ok;
}

Result MifareCard::permit(std::size_t block, std::uint8_t (*who)(std::uint8_t bits)) const {
    if (!proved_ || proved_->sector != sector_of(block)) {
        return Result::not_authenticated;
    }
    if (!access(block)) {
        return Result::denied;
    }
    // A key B that can be read is data, and opens nothing.
    if (proved_->kind == KeyKind::b && key_b_is_readable(proved_->sector)) {
        return Result::denied;
    }
    const std::uint8_t holder = proved_->kind == KeyKind::a ? a : b;
    return (who(bits(block)) & holder) != 0 ? Result::ok : Result::denied;
}

Result MifareCard::read(std::size_t block, Block &content) const {
    const bool trailer = is_trailer(block);
    const Result allowed = permit(block, trailer ? may_read_access : may_read);
    if (allowed != Result::ok) {
        return allowed;
    }
    content = blocks_.at(block);
    if (trailer) {
        blank_part(content, key_at(KeyKind::a), key_size);
        if (permit(block, may_read_b) != Result::ok) {
            blank_part(content, key_at(KeyKind::b), key_size);
        }
    }
    return Result::ok;
}

Result MifareCard::may_write(std::size_t block) const {
    if (!is_trailer(block)) {
        const Result allowed = permit(block, may_write_data);
        return allowed == Result::ok && block == 0 ? Result::denied : allowed;
    }
    Result allowed = Result::denied;
    for (const auto who : {may_write_a, may_write_access, may_write_b}) {
        allowed = permit(block, who);
        if (allowed == Result::ok) {
            break;
        }
    }
    return allowed;
}

Result MifareCard::write(std::size_t block, const Block &content) {
    const Result allowed = may_write(block);
    if (allowed != Result::ok) {
        return allowed;
    }
    if (!is_trailer(block)) {
        blocks_.at(block) = content;
        return Result::ok;
    }
    Block changed = blocks_.at(block);
    if (permit(block, may_write_a) == Result::ok) {
        copy_part(content, changed, key_at(KeyKind::a), key_size);
    }
    if (permit(block, may_write_access) == Result::ok) {
        copy_part(content, changed, access_at, access_size + 1);
    }
    if (permit(block, may_write_b) == Result::ok) {
        copy_part(content, changed, key_at(KeyKind::b), key_size);
    }
    blocks_.at(block) = changed;
    return Result::ok;
}

Result MifareCard::read_value(std::size_t block, std::int32_t &value) const {
    const Result allowed = permit(block, may_read);
    if (allowed != Result::ok) {
        return allowed;
    }
    const auto found = is_trailer(block) ? std::nullopt : value_in(blocks_.at(block));
    if (!found) {
        return Result::not_a_value;
    }
    value = *found;
    return Result::ok;
}

Result MifareCard::write_value(std::size_t block, std::int32_t value) {
    return is_trailer(block) ? Result::denied
                             : write(block, value_block(value, static_cast<std::uint8_t>(block)));
}

Result MifareCard::increment(std::size_t origin, std::size_t destination, std::int32_t amount,
                             std::int32_t &value) {
    return move_value(origin, destination, amount, may_increment, value);
}

Result MifareCard::decrement(std::size_t origin, std::size_t destination, std::int32_t amount,
                             std::int32_t &value) {
    return move_value(origin, destination, -static_cast<std::int64_t>(amount), may_decrement,
                      value);
}

Result MifareCard::copy(std::size_t origin, std::size_t destination, std::int32_t &value) {
    return move_value(origin, destination, 0, may_decrement, value);
}

Result MifareCard::move_value(std::size_t origin, std::size_t destination, std::int64_t change,
                              std::uint8_t (*who)(std::uint8_t bits), std::int32_t &value) {
    for (const Result allowed : {permit(origin, who), permit(destination, may_decrement)}) {
        if (allowed != Result::ok) {
            return allowed;
        }
    }
    const auto found = is_trailer(origin) ? std::nullopt : value_in(blocks_.at(origin));
    if (!found) {
        return Result::not_a_value;
    }
    if (is_trailer(destination) || destination == 0) {
        return Result::denied;
    }
    const std::int64_t sum = *found + change;
    if (sum < std::numeric_limits<std::int32_t>::min() ||
        sum > std::numeric_limits<std::int32_t>::max()) {
        return Result::overflow;
    }
    value = static_cast<std::int32_t>(sum);
    // The number of the block travels with its value.
    blocks_.at(destination) = value_block(value, blocks_.at(origin).at(12));
    return Result::ok;
}

Result MifareCard::read_access(std::size_t block, Access &found) const {
    const Result allowed = permit(trailer_of(block), may_read_access);
    if (allowed == Result::ok) {
        found = *access(block);
    }
    return allowed;
}

Result MifareCard::configure(std::size_t block, const Key &key_a, const Key &key_b, Access wanted) {
    const std::size_t trailer = trailer_of(block);
    for (const auto who : {may_write_a, may_write_b, may_write_access}) {
        const Result allowed = permit(trailer, who);
        if (allowed != Result::ok) {
            return allowed;
        }
    }
    put_key(blocks_.at(trailer), KeyKind::a, key_a);
    put_key(blocks_.at(trailer), KeyKind::b, key_b);
    put_access(blocks_.at(trailer), block, wanted);
    return Result::ok;
}

Result MifareCard::change_keys(std::size_t block, const Key &key_a, const Key &key_b) {
    const std::size_t trailer = trailer_of(block);
    for (const auto who : {may_write_a, may_write_b}) {
        const Result allowed = permit(trailer, who);
        if (allowed != Result::ok) {
            return allowed;
        }
    }
    put_key(blocks_.at(trailer), KeyKind::a, key_a);
    put_key(blocks_.at(trailer), KeyKind::b, key_b);
    return Result::ok;
}

} // namespace sim
