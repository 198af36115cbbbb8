#include "core/int_set.h"
#include "core/map.h"
#include "core/string.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace {

/// Few enough texts that they come again, with many that share a slot.
std::string anyText(std::mt19937 &random) {
    return "k" + std::to_string(std::uniform_int_distribution<int>(0, 2999)(random));
}

} // namespace

TEST(MapModel, BehavesLikeAHashMapOfTheStandardLibrary) {
    std::mt19937 random(20);
    PclMap *map = pcl_map_create(2, &pcl_string_hash, &pcl_string_equals, &pcl_string_copy,
                                 &pcl_string_copy, &pcl_string_delete, &pcl_string_delete);
    std::unordered_map<std::string, std::string> model;
    for (int step = 0; step < 20000; ++step) {
        const std::string key = anyText(random);
        if (step % 2 == 0) {
            const std::string value = std::to_string(step);
            ASSERT_STREQ(static_cast<const char *>(pcl_map_put(map, key.c_str(), value.c_str())),
                         value.c_str());
            model[key] = value;
        }
        const auto *found = static_cast<const char *>(pcl_map_get(map, key.c_str()));
        const auto expected = model.find(key);
        ASSERT_EQ(found != nullptr, expected != model.end()) << key;
        if (found != nullptr) {
            ASSERT_EQ(found, expected->second);
        }
        ASSERT_EQ(pcl_map_count(map), model.size());
        ASSERT_LT(pcl_map_count(map) * 4, pcl_map_capacity(map) * 3);
    }

    std::unordered_map<std::string, std::string> iterated;
    PclMapIterator at;
    for (PclMapIterator *it = pcl_map_iterator_begin(map, &at); it != nullptr;
         it = pcl_map_iterator_next(it)) {
        iterated.emplace(static_cast<const char *>(it->key), static_cast<const char *>(it->value));
    }
    EXPECT_EQ(iterated, model);
    pcl_map_destroy(&map);
}

TEST(SetModel, BehavesLikeAHashSetOfTheStandardLibrary) {
    std::mt19937 random(21);
    std::uniform_int_distribution<std::int32_t> values(-2000, 2000);
    PclIntSet *set = pcl_int_set_create(2);
    std::unordered_set<std::int32_t> model;
    for (int step = 0; step < 20000; ++step) {
        const std::int32_t value = values(random);
        if (step % 2 == 0) {
            pcl_int_set_add(set, value);
            model.insert(value);
        }
        ASSERT_EQ(pcl_int_set_contains(set, value) == 1, model.count(value) == 1) << value;
        ASSERT_EQ(pcl_set_count(set), model.size());
        ASSERT_LT(pcl_set_count(set) * 4, pcl_set_capacity(set) * 3);
    }

    std::unordered_set<std::int32_t> iterated;
    PclIntSetIterator at;
    for (PclIntSetIterator *it = pcl_int_set_iterator_begin(set, &at); it != nullptr;
         it = pcl_int_set_iterator_next(it)) {
        ASSERT_TRUE(iterated.insert(it->value).second);
    }
    EXPECT_EQ(iterated, model);
    pcl_set_destroy(&set);
}
