#include "core/set.h"

#include "core/element_ops.h"
#include "core/memory.h"
#include "core/owned.h"
#include "core/slots.h"

namespace {

bool isGiven(const PclSet *set) {
    if (set == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'set' is NULL");
        return false;
    }
    return true;
}

auto hasItem(const PclSet &set, const void *item) {
    return [&set, item](const PclSetEntry &entry) {
        return pcl_elements_equal(set.itemEqualsFn, entry.item, item);
    };
}

std::uint32_t find(const PclSet &set, const void *item) {
    return pcl_slots_find(set, set.itemHashFn(item), hasItem(set, item));
}

// Emptied before the item goes, so that the set is whole whatever the delete function does.
void removeAt(PclSet &set, std::uint32_t slot) {
    void *removed = set.slots[slot]->item;
    pcl_free(set.slots[slot]);
    set.slots[slot] = nullptr;
    --set.count;
    pcl_element_delete(set.itemDelFn, removed);
}

void *insert(PclSet &set, std::uint32_t slot, const void *item) {
    PclElementCopy copy(item, set.itemCpFn, set.itemDelFn);
    PclBlock<PclSetEntry> entry(static_cast<PclSetEntry *>(pcl_malloc(sizeof(PclSetEntry), 0)));
    *entry = {copy.get()};
    pcl_slots_fill(set, slot, entry.get(),
                   [&](const PclSetEntry &stored) { return set.itemHashFn(stored.item); });
    static_cast<void>(entry.release());
    return copy.release();
}

PclSetIterator *moveTo(PclSetIterator *it, PclSet *set, std::uint32_t slot) {
    const void *item = set->slots[slot]->item;
    *it = {set, item, item, set->itemHashFn(item)};
    return it;
}

std::uint32_t find(const PclSetIterator &it) {
    if (it.item == nullptr || it.item != it.stored) {
        return find(*it.set, it.item);
    }
    return pcl_slots_find(*it.set, it.hash,
                          [&](const PclSetEntry &entry) { return entry.item == it.stored; });
}

} // namespace

PclSet *pcl_set_create(std::int32_t initialCapacity, PclHashFn itemHashFn, PclEqualsFn itemEqualsFn,
                       PclCopyFn itemCpFn, PclDeleteFn itemDelFn) {
    if (initialCapacity < 2) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "Invalid 'initialCapacity': %d", initialCapacity);
        return nullptr;
    }
    const char *missing = itemHashFn == nullptr     ? "itemHashFn"
                          : itemEqualsFn == nullptr ? "itemEqualsFn"
                          : itemCpFn == nullptr     ? "itemCpFn"
                          : itemDelFn == nullptr    ? "itemDelFn"
                                                    : nullptr;
    if (missing != nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", missing);
        return nullptr;
    }
    return pcl_guarded<PclSet *>(nullptr, [&] {
        const auto capacity = static_cast<std::uint32_t>(initialCapacity);
        PclBlock<PclSet> set(static_cast<PclSet *>(pcl_malloc(sizeof(PclSet), 0)));
        *set = {capacity,
                itemHashFn,
                itemEqualsFn,
                itemCpFn,
                itemDelFn,
                0,
                pcl_slots_create<PclSetEntry>(capacity)};
        return set.release();
    });
}

void pcl_set_clear(PclSet *set) {
    if (!isGiven(set)) {
        return;
    }
    for (std::uint32_t slot = pcl_slots_next(*set, 0); slot != PCL_SLOTS_NONE;
         slot = pcl_slots_next(*set, slot + 1)) {
        removeAt(*set, slot);
    }
}

void pcl_set_destroy(PclSet **set) {
    if (set == nullptr || *set == nullptr) {
        return;
    }
    pcl_set_clear(*set);
    pcl_free((*set)->slots);
    pcl_free(*set);
    *set = nullptr;
}

std::uint32_t pcl_set_count(const PclSet *set) {
    return isGiven(set) ? set->count : 0;
}

std::uint32_t pcl_set_capacity(const PclSet *set) {
    return isGiven(set) ? set->capacity : 0;
}

void *pcl_set_add(PclSet *set, const void *item) {
    if (!isGiven(set)) {
        return nullptr;
    }
    return pcl_guarded<void *>(nullptr, [&]() -> void * {
        const std::uint32_t slot =
            pcl_slots_probe(set->slots, set->capacity, set->itemHashFn(item), hasItem(*set, item));
        if (slot == PCL_SLOTS_NONE) {
            pcl_raise(PCL_RESULT_RUNTIME_ERROR, "This point should never have been reached");
            return nullptr;
        }
        return set->slots[slot] != nullptr ? set->slots[slot]->item : insert(*set, slot, item);
    });
}

std::uint8_t pcl_set_contains(const PclSet *set, const void *item) {
    return isGiven(set) && find(*set, item) != PCL_SLOTS_NONE ? 1 : 0;
}

std::uint8_t pcl_set_remove(PclSet *set, const void *item) {
    if (!isGiven(set)) {
        return 0;
    }
    const std::uint32_t slot = find(*set, item);
    if (slot == PCL_SLOTS_NONE) {
        return 0;
    }
    removeAt(*set, slot);
    return 1;
}

PclSetIterator *pcl_set_iterator_begin(PclSet *set, PclSetIterator *out) {
    if (!isGiven(set)) {
        return nullptr;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return nullptr;
    }
    if (set->count == 0) {
        return nullptr;
    }
    const std::uint32_t slot = pcl_slots_next(*set, 0);
    if (slot == PCL_SLOTS_NONE) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "This point should not have been reached");
        return nullptr;
    }
    return moveTo(out, set, slot);
}

PclSetIterator *pcl_set_iterator_next(PclSetIterator *it) {
    if (it == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it' is NULL");
        return nullptr;
    }
    if (it->set == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it->set' is NULL");
        return nullptr;
    }
    const std::uint32_t current = find(*it);
    if (current == PCL_SLOTS_NONE) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it->item' not present in 'it->set'");
        return nullptr;
    }
    const std::uint32_t slot = pcl_slots_next(*it->set, current + 1);
    return slot == PCL_SLOTS_NONE ? nullptr : moveTo(it, it->set, slot);
}
