#pragma once

#include "abecs/response_parser.h"
#include "core/map.h"
#include "core/owned.h"

#include <cstddef>
#include <cstdint>

/// A response's values under their data identifiers.
///
/// A null map raises PCL_RESULT_ILLEGAL_ARGUMENT "'map' is NULL".
using AbecsParamMap = PclMap;

/// What the map stores: counted bytes, released with pcl_free when the entry is dropped if `owned`
/// is set. abecsParamMapCollect puts a NUL after them.
struct AbecsParamValue {
    std::size_t size;
    std::uint8_t *data;
    std::uint8_t owned;
};

struct AbecsParamMapIterator {
    AbecsParamMap *map;
    std::uint16_t id;
    AbecsParamValue value;
    PclMapIterator position;
};

/// An empty map, owned by the caller.
AbecsParamMap *abecsParamMapCreate();
void abecsParamMapDestroy(AbecsParamMap **map);
void abecsParamMapClear(AbecsParamMap *map);

using AbecsParamMapPtr = PclOwned<AbecsParamMap, abecsParamMapDestroy>;

/// Stores the record (null: no data) under the identifier and returns the stored one. The data
/// itself is not copied; with `owned` set the map releases it from now on, and after a failure it
/// is still the caller's. Raises PCL_RESULT_ILLEGAL_ARGUMENT "invalid 'data' x 'szData'" unless
/// size and data are both zero or both not.
AbecsParamValue *abecsParamMapPut(AbecsParamMap *map, std::uint16_t id,
                                  const AbecsParamValue *record, std::uint8_t owned);

/// The stored record, which stays the map's; null when the identifier is absent.
AbecsParamValue *abecsParamMapGet(AbecsParamMap *map, std::uint16_t id);

/// Fill the iterator with the first or next entry and return it; null at the end. Raise
/// PCL_RESULT_ILLEGAL_ARGUMENT "'out' is NULL" and "'it' is NULL".
AbecsParamMapIterator *abecsParamMapFirst(AbecsParamMap *map, AbecsParamMapIterator *out);
AbecsParamMapIterator *abecsParamMapNext(AbecsParamMapIterator *it);

/// Stores a NUL-terminated copy of every parameter that the parser still holds.
void abecsParamMapCollect(AbecsParamMap *map, AbecsResponseParser *parser);
