#pragma once

#include "sim/types.h"

#include <array>
#include <cstdint>
#include <optional>

namespace sim {

// A MIFARE Classic card of 1 KiB: 16 sectors of four blocks of 16 bytes. The last block of a sector
// is its trailer: key A, the access bits, key B. What may be done to a block depends on its access
// bits and on the key that was proved last.
class MifareCard {
public:
    static constexpr std::size_t sector_count = 16;
    static constexpr std::size_t blocks_per_sector = 4;
    static constexpr std::size_t block_count = sector_count * blocks_per_sector;
    static constexpr std::size_t block_size = 16;
    static constexpr std::size_t key_size = 6;
    static constexpr std::size_t uid_size = 4;

    using Block = std::array<std::uint8_t, block_size>;
    using Key = std::array<std::uint8_t, key_size>;
    using Uid = std::array<std::uint8_t, uid_size>;
    // The access bits C1, C2, C3 of one block.
    struct Access {
        bool c1 = false;
        bool c2 = false;
        bool c3 = false;
    };
    enum class KeyKind { a, b };
    enum class Result { ok, not_authenticated, wrong_key, denied, not_a_value, overflow };

    // A card as it comes from the factory: data of zeros, keys FF FF FF FF FF FF, access bits that
    // let key A do everything.
    explicit MifareCard(const Uid &uid);

    const Uid &uid() const { return uid_; }

    // Reads and changes the card without any key.
    const Block &content(std::size_t block) const { return blocks_.at(block); }
    void set_content(std::size_t block, const Block &content) { blocks_.at(block) = content; }
    void set_value(std::size_t block, std::int32_t value);
    void set_key(std::size_t sector, KeyKind kind, const Key &key);
    void set_access(std::size_t block, Access access);
    // Returns nothing when the stored access bits contradict each other; the sector is then
    // unusable.
    std::optional<Access> access(std::size_t block) const;

    // Forgets which key was proved, as when the card enters the field.
    void select() { proved_.reset(); }
    // Proves a key of the block's sector. A wrong one also ends what was proved before.
    Result authenticate(std::size_t block, KeyKind kind, const Key &key);

    // What may not be read of a trailer reads as zeros.
    Result read(std::size_t block, Block &content) const;
    // Block 0 is its maker's. Of a trailer only the parts that may be written change.
    Result may_write(std::size_t block) const;
    Result write(std::size_t block, const Block &content);

    Result read_value(std::size_t block, std::int32_t &value) const;
    Result write_value(std::size_t block, std::int32_t value);
    // Takes the value of the origin, changes it, and transfers it to the destination.
    Result increment(std::size_t origin, std::size_t destination, std::int32_t amount,
                     std::int32_t &value);
    Result decrement(std::size_t origin, std::size_t destination, std::int32_t amount,
                     std::int32_t &value);
    Result copy(std::size_t origin, std::size_t destination, std::int32_t &value);

    Result read_access(std::size_t block, Access &access) const;
    // Sets both keys of the sector and the access bits of the block.
    Result configure(std::size_t block, const Key &a, const Key &b, Access access);
    Result change_keys(std::size_t block, const Key &a, const Key &b);

private:
    struct Proof {
        std::size_t sector;
        KeyKind kind;
    };

    // Returns ok when the proved key allows the operation on the block, else the reason for the
    // refusal.
    Result permit(std::size_t block, std::uint8_t (*who)(std::uint8_t bits)) const;
    std::uint8_t bits(std::size_t block) const;
    bool key_b_is_readable(std::size_t sector) const;
    Result move_value(std::size_t origin, std::size_t destination, std::int64_t change,
                      std::uint8_t (*who)(std::uint8_t bits), std::int32_t &value);
    Key key(std::size_t sector, KeyKind kind) const;

    Uid uid_;
    std::array<Block, block_count> blocks_{};
    std::optional<Proof> proved_;
};

} // namespace sim
