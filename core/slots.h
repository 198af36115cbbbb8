#pragma once

#include "core/memory.h"
#include "core/owned.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

/// The table of slots that maps and sets are made of: `slots`, each null or pointing to an entry,
/// `capacity` of them, `count` of them taken. Open addressing with linear probing.

/// No slot.
inline constexpr std::uint32_t PCL_SLOTS_NONE = std::numeric_limits<std::uint32_t>::max();

/// All-empty slots, to be released with pcl_free. Raises PCL_RESULT_MALLOC_ERROR, also when the
/// size cannot be expressed. To be called with a frame open.
template <typename Entry>
Entry **pcl_slots_create(std::uint64_t capacity) {
    constexpr std::uint64_t MOST = std::min<std::uint64_t>(
        PCL_SLOTS_NONE - 1, std::numeric_limits<std::size_t>::max() / sizeof(Entry *));
    if (capacity > MOST) {
        pcl_raise(PCL_RESULT_MALLOC_ERROR, "%s", "");
        return nullptr;
    }
    const std::size_t size = static_cast<std::size_t>(capacity) * sizeof(Entry *);
    void *slots = pcl_malloc(size, 0);
    std::memset(slots, 0, size);
    return static_cast<Entry **>(slots);
}

/// The first slot, from the one that the hash names and wrapping at the end, that is empty or whose
/// entry matches; PCL_SLOTS_NONE after a full circle.
template <typename Entry, typename Matches>
std::uint32_t pcl_slots_probe(Entry *const *slots, std::uint32_t capacity, std::uint32_t hash,
                              Matches matches) {
    const std::uint32_t start = hash % capacity;
    std::uint32_t slot = start;
    do {
        if (slots[slot] == nullptr || matches(*slots[slot])) {
            return slot;
        }
        slot = slot + 1 == capacity ? 0 : slot + 1;
    } while (slot != start);
    return PCL_SLOTS_NONE;
}

/// The slot of the matching entry, PCL_SLOTS_NONE when the probe finds none.
template <typename Table, typename Matches>
std::uint32_t pcl_slots_find(const Table &table, std::uint32_t hash, Matches matches) {
    const std::uint32_t slot = pcl_slots_probe(table.slots, table.capacity, hash, matches);
    return slot == PCL_SLOTS_NONE || table.slots[slot] == nullptr ? PCL_SLOTS_NONE : slot;
}

/// The first taken slot from `slot` on; PCL_SLOTS_NONE when none remains.
template <typename Table>
std::uint32_t pcl_slots_next(const Table &table, std::uint32_t slot) {
    while (slot < table.capacity && table.slots[slot] == nullptr) {
        ++slot;
    }
    return slot < table.capacity ? slot : PCL_SLOTS_NONE;
}

/// Slots of twice the capacity with the same entries; the table itself stays as it is. To be
/// released and called like pcl_slots_create.
template <typename Table, typename HashOf>
auto pcl_slots_doubled(const Table &table, HashOf hashOf) {
    using Entry = std::remove_pointer_t<std::remove_pointer_t<decltype(table.slots)>>;
    const auto isOther = [](const Entry &) { return false; };

    PclBlock<Entry *> doubled(pcl_slots_create<Entry>(std::uint64_t{table.capacity} * 2));
    for (std::uint32_t i = pcl_slots_next(table, 0); i != PCL_SLOTS_NONE;
         i = pcl_slots_next(table, i + 1)) {
        Entry *entry = table.slots[i];
        doubled.get()[pcl_slots_probe(doubled.get(), table.capacity * 2, hashOf(*entry), isOther)] =
            entry;
    }
    return doubled.release();
}

/// Puts the entry into the empty slot, and doubles the table if that makes it three quarters full.
/// Whatever fails leaves the table as it was. To be called with a frame open.
template <typename Table, typename Entry, typename HashOf>
void pcl_slots_fill(Table &table, std::uint32_t slot, Entry *entry, HashOf hashOf) {
    struct Claim {
        Entry **slot;

        explicit Claim(Entry **claimed) : slot(claimed) {}
        Claim(const Claim &) = delete;
        Claim &operator=(const Claim &) = delete;
        ~Claim() {
            if (slot != nullptr) {
                *slot = nullptr;
            }
        }
    };

    table.slots[slot] = entry;
    Claim claim(&table.slots[slot]);
    if (static_cast<double>(table.count + 1) / table.capacity >= 0.75) {
        Entry **doubled = pcl_slots_doubled(table, hashOf);
        pcl_free(table.slots);
        table.slots = doubled;
        table.capacity *= 2;
    }
    claim.slot = nullptr;
    ++table.count;
}
