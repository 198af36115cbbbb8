#include "abecs/param_map.h"
#include "core/memory.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

namespace {

class ParamMap : public testing::Test {
protected:
    AbecsParamMap *map() { return m_map.get(); }

    void collect(const std::string &body) {
        const AbecsPacketPtr packet(abecsPacketCreate());
        abecsFieldPutBytes(packet.get(), body.data(), body.size());
        const AbecsResponseParserPtr parser(abecsParserCreate());
        abecsParserParse(parser.get(), packet.get());
        abecsParamMapCollect(map(), parser.get());
    }

    AbecsParamMapPtr m_map{abecsParamMapCreate()};
};

TEST_F(ParamMap, KeepsWhatIsPut) {
    std::uint8_t data[] = {1, 2, 3};
    const AbecsParamValue record{3, data, 0};
    const AbecsParamValue *stored = abecsParamMapPut(map(), 0x8040, &record, 0);
    ASSERT_NE(nullptr, stored);
    EXPECT_EQ(3U, stored->size);
    EXPECT_EQ(data, stored->data);
    EXPECT_EQ(stored, abecsParamMapGet(map(), 0x8040));
    EXPECT_EQ(nullptr, abecsParamMapGet(map(), 0x8041));
    EXPECT_EQ(16U, pcl_map_capacity(map()));
}

TEST_F(ParamMap, TakesAnAbsentRecordForNoData) {
    const AbecsParamValue *stored = abecsParamMapPut(map(), 1, nullptr, 0);
    ASSERT_NE(nullptr, stored);
    EXPECT_EQ(0U, stored->size);
    EXPECT_EQ(nullptr, stored->data);
}

TEST_F(ParamMap, WantsSizeAndDataTogether) {
    std::uint8_t data[] = {1};
    const AbecsParamValue noSize{0, data, 0};
    const AbecsParamValue noData{1, nullptr, 0};
    EXPECT_FAILURE(abecsParamMapPut(map(), 1, &noSize, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "invalid 'data' x 'szData'");
    EXPECT_FAILURE(abecsParamMapPut(map(), 1, &noData, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "invalid 'data' x 'szData'");
    EXPECT_EQ(nullptr, abecsParamMapGet(map(), 1));
}

TEST_F(ParamMap, CollectsAResponse) {
    ASSERT_NO_FAILURE(collect("CEX000017" + std::string("\x80\x40\x00\x02"
                                                        "90\x80\x41\x00\x00\x80\x42\x00\x03"
                                                        "a\x00z",
                                                        17)));
    const AbecsParamValue *event = abecsParamMapGet(map(), 0x8040);
    ASSERT_NE(nullptr, event);
    EXPECT_EQ(2U, event->size);
    EXPECT_STREQ("90", reinterpret_cast<const char *>(event->data));
    const AbecsParamValue *empty = abecsParamMapGet(map(), 0x8041);
    ASSERT_NE(nullptr, empty);
    EXPECT_EQ(0U, empty->size);
    EXPECT_STREQ("", reinterpret_cast<const char *>(empty->data));
    const AbecsParamValue *binary = abecsParamMapGet(map(), 0x8042);
    ASSERT_NE(nullptr, binary);
    EXPECT_EQ(0, std::memcmp("a\x00z", binary->data, 4));
}

TEST_F(ParamMap, ReplacesARepeatedValue) {
    collect(std::string("CEX000010\x80\x40\x00\x01"
                        "a\x80\x40\x00\x01"
                        "b",
                        19));
    EXPECT_STREQ("b", reinterpret_cast<const char *>(abecsParamMapGet(map(), 0x8040)->data));
    EXPECT_EQ(1U, pcl_map_count(map()));
}

TEST_F(ParamMap, IteratesOverEveryEntry) {
    AbecsParamMapIterator it;
    EXPECT_EQ(nullptr, abecsParamMapFirst(map(), &it));
    std::set<int> expected;
    for (int id = 0x8001; id < 0x8001 + 40; ++id) {
        abecsParamMapPut(map(), static_cast<std::uint16_t>(id), nullptr, 0);
        expected.insert(id);
    }
    EXPECT_EQ(64U, pcl_map_capacity(map()));
    std::set<int> seen;
    for (auto *at = abecsParamMapFirst(map(), &it); at != nullptr; at = abecsParamMapNext(at)) {
        EXPECT_TRUE(seen.insert(at->id).second);
        EXPECT_EQ(0U, at->value.size);
    }
    EXPECT_EQ(expected, seen);
    abecsParamMapClear(map());
    EXPECT_EQ(0U, pcl_map_count(map()));
}

TEST_F(ParamMap, ChecksForNull) {
    AbecsParamMapIterator it;
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    EXPECT_FAILURE(abecsParamMapPut(nullptr, 1, nullptr, 0), code, "'map' is NULL");
    EXPECT_FAILURE(abecsParamMapGet(nullptr, 1), code, "'map' is NULL");
    EXPECT_FAILURE(abecsParamMapFirst(nullptr, &it), code, "'map' is NULL");
    EXPECT_FAILURE(abecsParamMapFirst(map(), nullptr), code, "'out' is NULL");
    EXPECT_FAILURE(abecsParamMapNext(nullptr), code, "'it' is NULL");
}

} // namespace
