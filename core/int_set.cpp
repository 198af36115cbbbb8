#include "core/int_set.h"

#include "core/exception.h"
#include "core/memory.h"

namespace {

std::int32_t valueOf(const void *item) {
    return *static_cast<const std::int32_t *>(item);
}

std::uint32_t PCL_CALL hash(const void *item) {
    return static_cast<std::uint32_t>(valueOf(item));
}

bool PCL_CALL equals(const void *left, const void *right) {
    return valueOf(left) == valueOf(right);
}

void *PCL_CALL copy(const void *item) {
    return pcl_memdup(item, sizeof(std::int32_t));
}

void PCL_CALL release(void *item) {
    pcl_memdup_free(item);
}

PclIntSetIterator *moveTo(PclIntSetIterator *it, const PclSetIterator &position) {
    *it = {position.set, valueOf(position.item)};
    return it;
}

} // namespace

PclIntSet *pcl_int_set_create(std::int32_t initialCapacity) {
    return pcl_set_create(initialCapacity, &hash, &equals, &copy, &release);
}

std::uint8_t pcl_int_set_contains(const PclIntSet *set, std::int32_t value) {
    return pcl_set_contains(set, &value);
}

void pcl_int_set_add(PclIntSet *set, std::int32_t value) {
    pcl_set_add(set, &value);
}

std::uint8_t pcl_int_set_remove(PclIntSet *set, std::int32_t value) {
    return pcl_set_remove(set, &value);
}

PclIntSetIterator *pcl_int_set_iterator_begin(PclIntSet *set, PclIntSetIterator *out) {
    if (set != nullptr && out == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
        return nullptr;
    }
    PclSetIterator position{};
    return pcl_set_iterator_begin(set, &position) == nullptr ? nullptr : moveTo(out, position);
}

PclIntSetIterator *pcl_int_set_iterator_next(PclIntSetIterator *it) {
    if (it == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it' is NULL");
        return nullptr;
    }
    if (it->intSet == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'it->intSet' is NULL");
        return nullptr;
    }
    PclSetIterator position{it->intSet, &it->value, nullptr, 0};
    return pcl_set_iterator_next(&position) == nullptr ? nullptr : moveTo(it, position);
}
