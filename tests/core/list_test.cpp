#include "core/list.h"

#include "tests/core/elements.h"
#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class List : public testing::Test {
protected:
    void SetUp() override {
        elements::counters = {};
        m_list = pcl_list_create(&elements::copy, &elements::release, &elements::equals);
    }
    void TearDown() override {
        pcl_list_destroy(&m_list);
        EXPECT_EQ(m_list, nullptr);
        EXPECT_EQ(elements::counters.live(), 0);
    }

    PclListNode *append(int value) { return pcl_list_append(m_list, &value); }

    std::vector<int> forwards() const {
        std::vector<int> values;
        for (const PclListNode *node = pcl_list_first(m_list); node != nullptr;
             node = pcl_list_node_next(node)) {
            values.push_back(elements::valueOf(pcl_list_node_item(node)));
        }
        return values;
    }

    std::vector<int> backwards() const {
        std::vector<int> values;
        for (const PclListNode *node = pcl_list_last(m_list); node != nullptr;
             node = pcl_list_node_previous(node)) {
            values.push_back(elements::valueOf(pcl_list_node_item(node)));
        }
        return values;
    }

    PclList *m_list = nullptr;
};

} // namespace

TEST(ListCreate, EveryFunctionIsRequired) {
    EXPECT_FAILURE(pcl_list_create(nullptr, nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "itemCpFn is NULL");
    EXPECT_FAILURE(pcl_list_create(&elements::copy, nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "itemDelFn is NULL");
    EXPECT_FAILURE(pcl_list_create(&elements::copy, &elements::release, nullptr),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "equalsFn is NULL");
}

TEST(ListCreate, GivesNullWhenTheHandlerReturns) {
    const ScopedHandler handler;
    EXPECT_EQ(pcl_list_create(nullptr, nullptr, nullptr), nullptr);
    const FailingAllocation first(1);
    EXPECT_EQ(pcl_list_create(&elements::copy, &elements::release, &elements::equals), nullptr);
    EXPECT_EQ(handler.count(), 2U);
    EXPECT_EQ(handler.code(), PCL_RESULT_MALLOC_ERROR);
}

TEST_F(List, StartsEmpty) {
    EXPECT_EQ(pcl_list_count(m_list), 0U);
    EXPECT_EQ(pcl_list_first(m_list), nullptr);
    EXPECT_EQ(pcl_list_last(m_list), nullptr);
    EXPECT_EQ(pcl_list_remove_first(m_list), 0);
    EXPECT_EQ(pcl_list_remove_last(m_list), 0);
}

TEST_F(List, KeepsTheOrderOfAppending) {
    append(1);
    append(2);
    append(3);
    EXPECT_EQ(pcl_list_count(m_list), 3U);
    EXPECT_EQ(forwards(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(backwards(), (std::vector<int>{3, 2, 1}));
}

TEST_F(List, OwnsACopyOfEachItem) {
    int value = 5;
    const PclListNode *node = pcl_list_append(m_list, &value);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node, pcl_list_last(m_list));
    EXPECT_NE(pcl_list_node_item(node), &value);
    value = 6;
    EXPECT_EQ(elements::valueOf(pcl_list_node_item(node)), 5);
}

TEST_F(List, StoresANullItemAsNull) {
    const PclListNode *node = pcl_list_append(m_list, nullptr);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(pcl_list_node_item(node), nullptr);
    EXPECT_EQ(pcl_list_count(m_list), 1U);
    EXPECT_EQ(elements::counters.copies, 0);
    EXPECT_EQ(pcl_list_remove_first(m_list), 1);
    EXPECT_EQ(elements::counters.deletes, 0);
}

TEST_F(List, RemovingTheOnlyItemLeavesNeitherHeadNorTail) {
    append(1);
    EXPECT_EQ(pcl_list_remove_last(m_list), 1);
    EXPECT_EQ(m_list->head, nullptr);
    EXPECT_EQ(m_list->tail, nullptr);
    EXPECT_EQ(pcl_list_count(m_list), 0U);

    append(2);
    EXPECT_EQ(pcl_list_remove_first(m_list), 1);
    EXPECT_EQ(m_list->head, nullptr);
    EXPECT_EQ(m_list->tail, nullptr);
    EXPECT_EQ(elements::counters.live(), 0);
}

TEST_F(List, RemovesFromBothEnds) {
    for (int value = 1; value <= 4; ++value) {
        append(value);
    }
    EXPECT_EQ(pcl_list_remove_first(m_list), 1);
    EXPECT_EQ(pcl_list_remove_last(m_list), 1);
    EXPECT_EQ(forwards(), (std::vector<int>{2, 3}));
    EXPECT_EQ(backwards(), (std::vector<int>{3, 2}));
    EXPECT_EQ(elements::counters.deletes, 2);
}

TEST_F(List, ClearDeletesEveryItem) {
    append(1);
    pcl_list_append(m_list, nullptr);
    append(2);
    pcl_list_clear(m_list);
    EXPECT_EQ(pcl_list_count(m_list), 0U);
    EXPECT_EQ(m_list->head, nullptr);
    EXPECT_EQ(m_list->tail, nullptr);
    EXPECT_EQ(elements::counters.deletes, 2);
    append(3);
    EXPECT_EQ(forwards(), std::vector<int>{3});
}

TEST_F(List, FindsFromEitherEnd) {
    const PclListNode *first = append(7);
    append(8);
    const PclListNode *last = append(7);
    const int seven = 7;
    std::uint32_t index = 99;
    EXPECT_EQ(pcl_list_find_first(m_list, &seven, &index), first);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(pcl_list_find_last(m_list, &seven, &index), last);
    EXPECT_EQ(index, 2U);
    EXPECT_EQ(pcl_list_find_first(m_list, &seven, nullptr), first);
    EXPECT_EQ(pcl_list_find_last(m_list, &seven, nullptr), last);
}

TEST_F(List, FindsTheVeryPointer) {
    const PclListNode *node = append(7);
    EXPECT_EQ(pcl_list_find_first(m_list, pcl_list_node_item(node), nullptr), node);
}

TEST_F(List, FindsANullItem) {
    append(7);
    const PclListNode *node = pcl_list_append(m_list, nullptr);
    append(8);
    std::uint32_t index = 99;
    EXPECT_EQ(pcl_list_find_first(m_list, nullptr, &index), node);
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(pcl_list_find_last(m_list, nullptr, &index), node);
    EXPECT_EQ(index, 1U);
}

TEST_F(List, AbsentItemsAreNotFound) {
    append(7);
    pcl_list_append(m_list, nullptr);
    const int other = 9;
    std::uint32_t index = 99;
    EXPECT_EQ(pcl_list_find_first(m_list, &other, &index), nullptr);
    EXPECT_EQ(pcl_list_find_last(m_list, &other, &index), nullptr);
    EXPECT_EQ(index, 99U);
}

TEST_F(List, AFailedAppendChangesNothing) {
    append(1);
    for (std::size_t failing = 1; failing <= 2; ++failing) {
        const FailingAllocation plan(failing);
        EXPECT_FAILURE(append(2), PCL_RESULT_MALLOC_ERROR, "");
    }
    elements::counters.failingCopy = 2;
    EXPECT_FAILURE(append(2), PCL_RESULT_RUNTIME_ERROR, "copy");
    EXPECT_EQ(forwards(), std::vector<int>{1});
    EXPECT_EQ(backwards(), std::vector<int>{1});
    EXPECT_EQ(pcl_list_count(m_list), 1U);
}

TEST_F(List, AFailedAppendChangesNothingWhenTheHandlerReturns) {
    const ScopedHandler handler;
    for (std::size_t failing = 1; failing <= 2; ++failing) {
        const FailingAllocation plan(failing);
        EXPECT_EQ(append(2), nullptr);
        EXPECT_EQ(handler.count(), failing);
    }
    EXPECT_EQ(pcl_list_count(m_list), 0U);
    EXPECT_EQ(m_list->head, nullptr);
}

TEST_F(List, DestroyIgnoresNull) {
    PclList *none = nullptr;
    EXPECT_NO_FAILURE(pcl_list_destroy(&none));
    EXPECT_NO_FAILURE(pcl_list_destroy(nullptr));
}

TEST_F(List, NullListsAndNodesAreRefused) {
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const int item = 1;
    EXPECT_FAILURE(pcl_list_clear(nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_count(nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_first(nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_last(nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_append(nullptr, &item), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_remove_first(nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_remove_last(nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_find_first(nullptr, &item, nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_find_last(nullptr, &item, nullptr), code, "list is NULL");
    EXPECT_FAILURE(pcl_list_node_next(nullptr), code, "node is NULL");
    EXPECT_FAILURE(pcl_list_node_previous(nullptr), code, "node is NULL");
    EXPECT_FAILURE(pcl_list_node_item(nullptr), code, "node is NULL");
}

TEST_F(List, NullIsHarmlessWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const int item = 1;
    pcl_list_clear(nullptr);
    EXPECT_EQ(pcl_list_count(nullptr), 0U);
    EXPECT_EQ(pcl_list_first(nullptr), nullptr);
    EXPECT_EQ(pcl_list_last(nullptr), nullptr);
    EXPECT_EQ(pcl_list_append(nullptr, &item), nullptr);
    EXPECT_EQ(pcl_list_remove_first(nullptr), 0);
    EXPECT_EQ(pcl_list_remove_last(nullptr), 0);
    EXPECT_EQ(pcl_list_find_first(nullptr, &item, nullptr), nullptr);
    EXPECT_EQ(pcl_list_find_last(nullptr, &item, nullptr), nullptr);
    EXPECT_EQ(pcl_list_node_next(nullptr), nullptr);
    EXPECT_EQ(pcl_list_node_previous(nullptr), nullptr);
    EXPECT_EQ(pcl_list_node_item(nullptr), nullptr);
    EXPECT_EQ(handler.count(), 12U);
}
