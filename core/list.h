#pragma once

#include "core/element.h"

#include <cstdint>

/// A doubly linked list that owns copies of its elements.
///
/// A null list raises PCL_RESULT_ILLEGAL_ARGUMENT "list is NULL", a null node "node is NULL".
/// Should the handler return, results are null or 0.
struct PclListNode {
    PclListNode *prev;
    PclListNode *next;
    void *item; ///< the list's copy, or null
};

struct PclList {
    PclListNode *head;
    PclListNode *tail;
    std::uint32_t count;
    PclCopyFn itemCpFn;
    PclDeleteFn itemDelFn;
    PclEqualsFn equalsFn;
};

/// A new empty list, to be released with pcl_list_destroy. Raises PCL_RESULT_ILLEGAL_ARGUMENT
/// "itemCpFn is NULL", "itemDelFn is NULL", "equalsFn is NULL" and PCL_RESULT_MALLOC_ERROR.
PclList *pcl_list_create(PclCopyFn itemCpFn, PclDeleteFn itemDelFn, PclEqualsFn equalsFn);

/// Deletes every item.
void pcl_list_clear(PclList *list);

/// Clears and releases the list and sets the caller's variable to null. Null is ignored on both
/// levels.
void pcl_list_destroy(PclList **list);

std::uint32_t pcl_list_count(const PclList *list);

/// The outermost nodes, null when the list is empty.
PclListNode *pcl_list_first(const PclList *list);
PclListNode *pcl_list_last(const PclList *list);

/// Appends a copy of the item and returns its node. Whatever the copy function raises leaves the
/// list as it was.
PclListNode *pcl_list_append(PclList *list, const void *item);

/// Delete the outermost item; 1 when there was one, else 0.
std::uint8_t pcl_list_remove_first(PclList *list);
std::uint8_t pcl_list_remove_last(PclList *list);

/// Neighbours, null at the ends; and the stored item, which stays the list's.
PclListNode *pcl_list_node_next(const PclListNode *node);
PclListNode *pcl_list_node_previous(const PclListNode *node);
void *pcl_list_node_item(const PclListNode *node);

/// The first node from the front, or from the back, that stores this very pointer or an equal item;
/// null when there is none. A non-null `index` receives the node's position counted from the front.
PclListNode *pcl_list_find_first(const PclList *list, const void *item, std::uint32_t *index);
PclListNode *pcl_list_find_last(const PclList *list, const void *item, std::uint32_t *index);
