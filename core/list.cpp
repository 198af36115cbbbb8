#include "core/list.h"

#include "core/element_ops.h"
#include "core/memory.h"
#include "core/owned.h"

namespace {

bool isGiven(const PclList *list) {
    if (list == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "list is NULL");
        return false;
    }
    return true;
}

bool isGiven(const PclListNode *node) {
    if (node == nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "node is NULL");
        return false;
    }
    return true;
}

bool matches(const PclList &list, const PclListNode &node, const void *item) {
    return node.item == item || pcl_elements_equal(list.equalsFn, node.item, item);
}

void link(PclList &list, PclListNode *node) {
    node->prev = list.tail;
    node->next = nullptr;
    (list.tail == nullptr ? list.head : list.tail->next) = node;
    list.tail = node;
    ++list.count;
}

// Unlinked before the item goes, so that the list is whole whatever the delete function does.
void removeNode(PclList &list, PclListNode *node) {
    (node->prev == nullptr ? list.head : node->prev->next) = node->next;
    (node->next == nullptr ? list.tail : node->next->prev) = node->prev;
    --list.count;
    void *item = node->item;
    pcl_free(node);
    pcl_element_delete(list.itemDelFn, item);
}

std::uint8_t removeIfAny(PclList &list, PclListNode *node) {
    if (node == nullptr) {
        return 0;
    }
    removeNode(list, node);
    return 1;
}

PclListNode *found(PclListNode *node, std::uint32_t position, std::uint32_t *index) {
    if (index != nullptr) {
        *index = position;
    }
    return node;
}

} // namespace

PclList *pcl_list_create(PclCopyFn itemCpFn, PclDeleteFn itemDelFn, PclEqualsFn equalsFn) {
    const char *missing = itemCpFn == nullptr    ? "itemCpFn"
                          : itemDelFn == nullptr ? "itemDelFn"
                          : equalsFn == nullptr  ? "equalsFn"
                                                 : nullptr;
    if (missing != nullptr) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "%s is NULL", missing);
        return nullptr;
    }
    auto *list = static_cast<PclList *>(pcl_malloc(sizeof(PclList), 0));
    if (list != nullptr) {
        *list = {nullptr, nullptr, 0, itemCpFn, itemDelFn, equalsFn};
    }
    return list;
}

void pcl_list_clear(PclList *list) {
    if (!isGiven(list)) {
        return;
    }
    while (list->head != nullptr) {
        removeNode(*list, list->head);
    }
}

void pcl_list_destroy(PclList **list) {
    if (list == nullptr || *list == nullptr) {
        return;
    }
    pcl_list_clear(*list);
    pcl_free(*list);
    *list = nullptr;
}

std::uint32_t pcl_list_count(const PclList *list) {
    return isGiven(list) ? list->count : 0;
}

PclListNode *pcl_list_first(const PclList *list) {
    return isGiven(list) ? list->head : nullptr;
}

PclListNode *pcl_list_last(const PclList *list) {
    return isGiven(list) ? list->tail : nullptr;
}

PclListNode *pcl_list_append(PclList *list, const void *item) {
    if (!isGiven(list)) {
        return nullptr;
    }
    return pcl_guarded<PclListNode *>(nullptr, [&] {
        PclBlock<PclListNode> node(static_cast<PclListNode *>(pcl_malloc(sizeof(PclListNode), 0)));
        node->item = item == nullptr ? nullptr : list->itemCpFn(item);
        link(*list, node.get());
        return node.release();
    });
}

std::uint8_t pcl_list_remove_first(PclList *list) {
    return isGiven(list) ? removeIfAny(*list, list->head) : std::uint8_t{0};
}

std::uint8_t pcl_list_remove_last(PclList *list) {
    return isGiven(list) ? removeIfAny(*list, list->tail) : std::uint8_t{0};
}

PclListNode *pcl_list_node_next(const PclListNode *node) {
    return isGiven(node) ? node->next : nullptr;
}

PclListNode *pcl_list_node_previous(const PclListNode *node) {
    return isGiven(node) ? node->prev : nullptr;
}

void *pcl_list_node_item(const PclListNode *node) {
    return isGiven(node) ? node->item : nullptr;
}

PclListNode *pcl_list_find_first(const PclList *list, const void *item, std::uint32_t *index) {
    if (!isGiven(list)) {
        return nullptr;
    }
    std::uint32_t position = 0;
    for (PclListNode *node = list->head; node != nullptr; node = node->next, ++position) {
        if (matches(*list, *node, item)) {
            return found(node, position, index);
        }
    }
    return nullptr;
}

PclListNode *pcl_list_find_last(const PclList *list, const void *item, std::uint32_t *index) {
    if (!isGiven(list)) {
        return nullptr;
    }
    std::uint32_t position = list->count;
    for (PclListNode *node = list->tail; node != nullptr; node = node->prev) {
        --position;
        if (matches(*list, *node, item)) {
            return found(node, position, index);
        }
    }
    return nullptr;
}
