#include "abecs/param_map.h"

#include "core/exception.h"
#include "core/guard.h"
#include "core/memory.h"

namespace {

constexpr std::int32_t BUCKETS = 16;

std::uint16_t idOf(const void *key) {
    return *static_cast<const std::uint16_t *>(key);
}

std::uint32_t PCL_CALL hashId(const void *key) {
    return idOf(key);
}

bool PCL_CALL equalIds(const void *left, const void *right) {
    return idOf(left) == idOf(right);
}

void *PCL_CALL copyId(const void *key) {
    return pcl_memdup(key, sizeof(std::uint16_t));
}

void *PCL_CALL copyValue(const void *value) {
    return pcl_memdup(value, sizeof(AbecsParamValue));
}

void PCL_CALL deleteValue(void *value) {
    auto *record = static_cast<AbecsParamValue *>(value);
    if (record->owned != 0) {
        // It may hold what a customer typed.
        pcl_wipe(record->data, record->size);
        pcl_free(record->data);
    }
    pcl_free(record);
}

bool isGiven(const AbecsParamMap *map) {
    if (map == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'map' is NULL");
        return false;
    }
    return true;
}

AbecsParamMapIterator *fill(AbecsParamMapIterator *it, const PclMapIterator *position) {
    if (position == nullptr) {
        return nullptr;
    }
    it->id = idOf(position->key);
    it->value = *static_cast<const AbecsParamValue *>(position->value);
    return it;
}

struct BlockRelease {
    void operator()(std::uint8_t *block) const { pcl_free(block); }
};

// The data becomes the map's once it is stored, and not before: a put that runs out of memory drops
// its copy of the record, and must not release with it what is still the caller's.
AbecsParamValue *store(AbecsParamMap *map, std::uint16_t id, AbecsParamValue record,
                       std::uint8_t owned) {
    record.owned = 0;
    auto *stored = static_cast<AbecsParamValue *>(pcl_map_put(map, &id, &record));
    if (stored != nullptr) {
        stored->owned = owned;
    }
    return stored;
}

void putCopy(AbecsParamMap *map, AbecsParam *param) {
    const std::size_t length = abecsParamLength(param);
    std::unique_ptr<std::uint8_t, BlockRelease> copy(
        static_cast<std::uint8_t *>(pcl_malloc(length + 1, 0)));
    abecsFieldGetBytes(param, copy.get(), length, length);
    copy.get()[length] = '\0';
    // Stored as it is: an empty value, too, is a text that ends in NUL.
    store(map, abecsParamGetId(param), AbecsParamValue{length, copy.get(), 0}, 1);
    static_cast<void>(copy.release());
}

} // namespace

AbecsParamMap *abecsParamMapCreate() {
    return pcl_map_create(BUCKETS, hashId, equalIds, copyId, copyValue, pcl_free, deleteValue);
}

void abecsParamMapDestroy(AbecsParamMap **map) {
    pcl_map_destroy(map);
}

void abecsParamMapClear(AbecsParamMap *map) {
    if (isGiven(map)) {
        pcl_map_clear(map);
    }
}

AbecsParamValue *abecsParamMapPut(AbecsParamMap *map, std::uint16_t id,
                                  const AbecsParamValue *record, std::uint8_t owned) {
    if (!isGiven(map)) {
        return nullptr;
    }
    const AbecsParamValue stored = record == nullptr ? AbecsParamValue{} : *record;
    if ((stored.size == 0) != (stored.data == nullptr)) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "invalid 'data' x 'szData'");
        return nullptr;
    }
    return store(map, id, stored, owned);
}

AbecsParamValue *abecsParamMapGet(AbecsParamMap *map, std::uint16_t id) {
    return isGiven(map) ? static_cast<AbecsParamValue *>(pcl_map_get(map, &id)) : nullptr;
}

AbecsParamMapIterator *abecsParamMapFirst(AbecsParamMap *map, AbecsParamMapIterator *out) {
    if (!isGiven(map)) {
        return nullptr;
    }
    if (out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return nullptr;
    }
    *out = AbecsParamMapIterator{};
    out->map = map;
    return fill(out, pcl_map_iterator_begin(map, &out->position));
}

AbecsParamMapIterator *abecsParamMapNext(AbecsParamMapIterator *it) {
    if (it == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it' is NULL");
        return nullptr;
    }
    return fill(it, pcl_map_iterator_next(&it->position));
}

void abecsParamMapCollect(AbecsParamMap *map, AbecsResponseParser *parser) {
    pcl_guarded([&] {
        const AbecsParamLocal param;
        while (abecsParserNextParam(parser, param) != nullptr) {
            putCopy(map, param);
        }
    });
}
