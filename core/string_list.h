#pragma once

#include <cstdint>

struct PclList;
struct PclSet;

/// An empty list of texts, to be released with pcl_list_destroy.
PclList *pcl_string_list_create();

/// An empty set of texts, to be released with pcl_set_destroy. Raises what pcl_set_create raises.
PclSet *pcl_string_set_create(std::int32_t initialCapacity);
