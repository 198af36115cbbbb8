#include "core/string_list.h"

#include "core/list.h"
#include "core/set.h"
#include "core/string.h"

PclList *pcl_string_list_create() {
    return pcl_list_create(&pcl_string_copy, &pcl_string_delete, &pcl_string_equals);
}

PclSet *pcl_string_set_create(std::int32_t initialCapacity) {
    return pcl_set_create(initialCapacity, &pcl_string_hash, &pcl_string_equals, &pcl_string_copy,
                          &pcl_string_delete);
}
