#include "core/map.h"

#include "core/element_ops.h"
#include "core/memory.h"
#include "core/owned.h"
#include "core/slots.h"

namespace {

bool isGiven(const PclMap *map) {
    if (map == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "map is NULL");
        return false;
    }
    return true;
}

auto hasKey(const PclMap &map, const void *key) {
    return [&map, key](const PclMapEntry &entry) {
        return pcl_elements_equal(map.keyEqualsFn, entry.key, key);
    };
}

std::uint32_t find(const PclMap &map, const void *key) {
    return pcl_slots_find(map, map.keyHashFn(key), hasKey(map, key));
}

// Emptied before the elements go, so that the map is whole whatever the delete functions do.
void removeAt(PclMap &map, std::uint32_t slot) {
    const PclMapEntry removed = *map.slots[slot];
    pcl_free(map.slots[slot]);
    map.slots[slot] = nullptr;
    --map.count;
    pcl_element_delete(map.keyDelFn, removed.key);
    pcl_element_delete(map.valueDelFn, removed.value);
}

// Copied before the old value goes: the new one may be the old one.
void *replaceValue(PclMap &map, PclMapEntry &entry, const void *value) {
    PclElementCopy valueCopy(value, map.valueCpFn, map.valueDelFn);
    void *old = entry.value;
    entry.value = valueCopy.release();
    pcl_element_delete(map.valueDelFn, old);
    return entry.value;
}

void *insert(PclMap &map, std::uint32_t slot, const void *key, const void *value) {
    PclElementCopy keyCopy(key, map.keyCpFn, map.keyDelFn);
    PclElementCopy valueCopy(value, map.valueCpFn, map.valueDelFn);
    PclBlock<PclMapEntry> entry(static_cast<PclMapEntry *>(pcl_malloc(sizeof(PclMapEntry), 0)));
    *entry = {keyCopy.get(), valueCopy.get()};
    pcl_slots_fill(map, slot, entry.get(),
                   [&](const PclMapEntry &stored) { return map.keyHashFn(stored.key); });
    static_cast<void>(entry.release());
    keyCopy.release();
    return valueCopy.release();
}

PclMapIterator *moveTo(PclMapIterator *it, PclMap *map, std::uint32_t slot) {
    const PclMapEntry &entry = *map->slots[slot];
    *it = {map, entry.key, entry.value, entry.key, map->keyHashFn(entry.key)};
    return it;
}

std::uint32_t find(const PclMapIterator &it) {
    if (it.key == nullptr || it.key != it.stored) {
        return find(*it.map, it.key);
    }
    return pcl_slots_find(*it.map, it.hash,
                          [&](const PclMapEntry &entry) { return entry.key == it.stored; });
}

} // namespace

PclMap *pcl_map_create(std::int32_t initialCapacity, PclHashFn keyHashFn, PclEqualsFn keyEqualsFn,
                       PclCopyFn keyCpFn, PclCopyFn valueCpFn, PclDeleteFn keyDelFn,
                       PclDeleteFn valueDelFn) {
    if (initialCapacity < 2) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid initialCapacity: %d", initialCapacity);
        return nullptr;
    }
    const char *missing = keyHashFn == nullptr     ? "keyHashFn"
                          : keyEqualsFn == nullptr ? "keyEqualsFn"
                          : keyCpFn == nullptr     ? "keyCpFn"
                          : valueCpFn == nullptr   ? "valueCpFn"
                          : keyDelFn == nullptr    ? "keyDelFn"
                          : valueDelFn == nullptr  ? "valueDelFn"
                                                   : nullptr;
    if (missing != nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%s is NULL", missing);
        return nullptr;
    }
    return pcl_guarded<PclMap *>(nullptr, [&] {
        const auto capacity = static_cast<std::uint32_t>(initialCapacity);
        PclBlock<PclMap> map(static_cast<PclMap *>(pcl_malloc(sizeof(PclMap), 0)));
        *map = {capacity,   keyHashFn, keyEqualsFn,
                keyCpFn,    valueCpFn, keyDelFn,
                valueDelFn, 0,         pcl_slots_create<PclMapEntry>(capacity)};
        return map.release();
    });
}

void pcl_map_clear(PclMap *map) {
    if (!isGiven(map)) {
        return;
    }
    for (std::uint32_t slot = pcl_slots_next(*map, 0); slot != PCL_SLOTS_NONE;
         slot = pcl_slots_next(*map, slot + 1)) {
        removeAt(*map, slot);
    }
}

void pcl_map_destroy(PclMap **map) {
    if (map == nullptr || *map == nullptr) {
        return;
    }
    pcl_map_clear(*map);
    pcl_free((*map)->slots);
    pcl_free(*map);
    *map = nullptr;
}

std::uint32_t pcl_map_count(const PclMap *map) {
    return isGiven(map) ? map->count : 0;
}

std::uint32_t pcl_map_capacity(const PclMap *map) {
    return isGiven(map) ? map->capacity : 0;
}

void *pcl_map_put(PclMap *map, const void *key, const void *value) {
    if (!isGiven(map)) {
        return nullptr;
    }
    return pcl_guarded<void *>(nullptr, [&]() -> void * {
        const std::uint32_t slot =
            pcl_slots_probe(map->slots, map->capacity, map->keyHashFn(key), hasKey(*map, key));
        if (slot == PCL_SLOTS_NONE) {
            pcl_raise(PCL_RESULT_RUNTIME_ERROR, "This point should never have been reached");
            return nullptr;
        }
        if (map->slots[slot] != nullptr) {
            return replaceValue(*map, *map->slots[slot], value);
        }
        return insert(*map, slot, key, value);
    });
}

void *pcl_map_get(const PclMap *map, const void *key) {
    if (!isGiven(map)) {
        return nullptr;
    }
    const std::uint32_t slot = find(*map, key);
    return slot == PCL_SLOTS_NONE ? nullptr : map->slots[slot]->value;
}

std::uint8_t pcl_map_remove(PclMap *map, const void *key) {
    if (!isGiven(map)) {
        return 0;
    }
    const std::uint32_t slot = find(*map, key);
    if (slot == PCL_SLOTS_NONE) {
        return 0;
    }
    removeAt(*map, slot);
    return 1;
}

PclMapIterator *pcl_map_iterator_begin(PclMap *map, PclMapIterator *out) {
    if (!isGiven(map)) {
        return nullptr;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return nullptr;
    }
    if (map->count == 0) {
        return nullptr;
    }
    const std::uint32_t slot = pcl_slots_next(*map, 0);
    if (slot == PCL_SLOTS_NONE) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "This point should not have been reached");
        return nullptr;
    }
    return moveTo(out, map, slot);
}

PclMapIterator *pcl_map_iterator_next(PclMapIterator *it) {
    if (it == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it' is NULL");
        return nullptr;
    }
    if (it->map == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it->map' is NULL");
        return nullptr;
    }
    const std::uint32_t current = find(*it);
    if (current == PCL_SLOTS_NONE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it->key' not present in 'it->map'");
        return nullptr;
    }
    const std::uint32_t slot = pcl_slots_next(*it->map, current + 1);
    return slot == PCL_SLOTS_NONE ? nullptr : moveTo(it, it->map, slot);
}
