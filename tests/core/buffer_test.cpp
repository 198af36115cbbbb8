#include "core/buffer.h"

#include "tests/support/allocations.h"
#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

/// A buffer for one test.
class Ring {
public:
    explicit Ring(std::uint32_t capacity) : m_buffer(pcl_buffer_create(capacity)) {}
    ~Ring() { pcl_buffer_destroy(&m_buffer); }
    Ring(const Ring &) = delete;
    Ring &operator=(const Ring &) = delete;

    operator PclBuffer *() const { return m_buffer; }
    PclBuffer *operator->() const { return m_buffer; }

private:
    PclBuffer *m_buffer;
};

void write(PclBuffer *buffer, const std::string &bytes) {
    pcl_buffer_write(buffer, bytes.data(), bytes.size());
}

std::string read(PclBuffer *buffer, std::size_t count) {
    std::vector<char> bytes(count + 1);
    return {bytes.data(), pcl_buffer_read(buffer, bytes.data(), count)};
}

/// Moves both indices of an empty buffer forward.
void shift(PclBuffer *buffer, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        pcl_buffer_write_byte(buffer, 0xEE);
        pcl_buffer_read_byte(buffer);
    }
}

void expectSameCursor(const PclBuffer *buffer, const PclBufferState &state) {
    EXPECT_EQ(buffer->readIndex, state.readIndex);
    EXPECT_EQ(buffer->writeIndex, state.writeIndex);
    EXPECT_EQ(buffer->empty, state.empty);
}

} // namespace

TEST(BufferCreate, StartsEmptyAndOwnsItsStorage) {
    const Ring ring(8);
    EXPECT_EQ(ring->ownsStorage, 1);
    EXPECT_EQ(ring->readIndex, 0U);
    EXPECT_EQ(ring->writeIndex, 0U);
    EXPECT_EQ(ring->empty, 1);
    EXPECT_EQ(pcl_buffer_capacity(ring), 8U);
    EXPECT_EQ(pcl_buffer_data(ring), ring->storage);
    EXPECT_NE(pcl_buffer_data(ring), nullptr);
    EXPECT_EQ(pcl_buffer_available(ring), 0U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 8U);
}

TEST(BufferCreate, CapacityZeroHasNoStorage) {
    const Ring ring(0);
    EXPECT_EQ(pcl_buffer_data(ring), nullptr);
    EXPECT_EQ(ring->ownsStorage, 1);
    EXPECT_EQ(pcl_buffer_available(ring), 0U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 0U);
    char byte = 'x';
    EXPECT_EQ(pcl_buffer_read(ring, &byte, 1), 0U);
    EXPECT_NO_FAILURE(pcl_buffer_write(ring, &byte, 0));
    EXPECT_FAILURE(pcl_buffer_write(ring, &byte, 1), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
}

TEST(BufferCreate, EitherAllocationMayFail) {
    for (std::size_t failing = 1; failing <= 2; ++failing) {
        {
            const FailingAllocation plan(failing);
            EXPECT_FAILURE(pcl_buffer_create(16), PCL_RESULT_MALLOC_ERROR, "");
        }
        const ScopedHandler handler;
        const FailingAllocation plan(failing);
        EXPECT_EQ(pcl_buffer_create(16), nullptr);
        EXPECT_EQ(handler.count(), 1U);
        EXPECT_EQ(handler.code(), PCL_RESULT_MALLOC_ERROR);
    }
}

TEST(BufferDestroy, ClearsTheVariableAndIgnoresNull) {
    PclBuffer *buffer = pcl_buffer_create(4);
    pcl_buffer_destroy(&buffer);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_NO_FAILURE(pcl_buffer_destroy(&buffer));
    EXPECT_NO_FAILURE(pcl_buffer_destroy(nullptr));
}

TEST(BufferStorage, AFullCallersArrayIsContent) {
    char storage[10] = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'};
    const Ring ring(3);
    pcl_buffer_set_storage(ring, storage, sizeof storage, 1);
    EXPECT_EQ(ring->ownsStorage, 0);
    EXPECT_EQ(pcl_buffer_capacity(ring), 10U);
    EXPECT_EQ(pcl_buffer_data(ring), reinterpret_cast<std::uint8_t *>(storage));
    EXPECT_EQ(pcl_buffer_available(ring), 10U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 0U);
    EXPECT_EQ(read(ring, 20), "0123456789");
}

TEST(BufferStorage, AnEmptyCallersArrayIsWrittenInPlace) {
    char storage[4] = {};
    const Ring ring(3);
    write(ring, "ab");
    pcl_buffer_set_storage(ring, storage, sizeof storage, 0);
    EXPECT_EQ(pcl_buffer_available(ring), 0U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 4U);
    write(ring, "wxyz");
    EXPECT_EQ(std::string(storage, 4), "wxyz");
}

TEST(BufferStorage, CanBeTakenAwayAndReplaced) {
    char first[2] = {'a', 'b'};
    char second[2] = {'c', 'd'};
    const Ring ring(0);
    pcl_buffer_set_storage(ring, first, sizeof first, 1);
    EXPECT_EQ(pcl_buffer_read_byte(ring), 'a');
    pcl_buffer_set_storage(ring, second, sizeof second, 1);
    EXPECT_EQ(read(ring, 2), "cd");
    EXPECT_NO_FAILURE(pcl_buffer_set_storage(ring, nullptr, 0, 0));
    EXPECT_EQ(pcl_buffer_capacity(ring), 0U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 0U);
}

TEST(BufferStorage, ArgumentsAreCheckedInOrder) {
    char storage[2];
    const Ring ring(4);
    write(ring, "ab");
    EXPECT_FAILURE(pcl_buffer_set_storage(nullptr, nullptr, 2, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "buffer is NULL");
    EXPECT_FAILURE(pcl_buffer_set_storage(ring, nullptr, 2, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "storage is NULL and sizeStorage != 0");
    EXPECT_FAILURE(pcl_buffer_set_storage(ring, storage, 0, 0), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "storage is not NULL but sizeStorage == 0");
    EXPECT_EQ(read(ring, 4), "ab");
}

TEST(BufferCounts, FullAndEmptyAtEqualIndices) {
    const Ring ring(4);
    write(ring, "abcd");
    EXPECT_EQ(ring->writeIndex, 0U);
    EXPECT_EQ(ring->readIndex, 0U);
    EXPECT_EQ(ring->empty, 0);
    EXPECT_EQ(pcl_buffer_available(ring), 4U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 0U);
    EXPECT_EQ(read(ring, 4), "abcd");
    EXPECT_EQ(ring->writeIndex, 0U);
    EXPECT_EQ(ring->readIndex, 0U);
    EXPECT_EQ(ring->empty, 1);
    EXPECT_EQ(pcl_buffer_available(ring), 0U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 4U);
}

TEST(BufferCounts, WriteIndexBehindTheReadIndex) {
    const Ring ring(5);
    shift(ring, 3);
    write(ring, "abc");
    EXPECT_EQ(ring->readIndex, 3U);
    EXPECT_EQ(ring->writeIndex, 1U);
    EXPECT_EQ(pcl_buffer_available(ring), 3U);
    EXPECT_EQ(pcl_buffer_free_space(ring), 2U);
}

TEST(BufferClear, ForgetsTheContentWithoutWipingIt) {
    const Ring ring(3);
    write(ring, "abc");
    pcl_buffer_clear(ring);
    EXPECT_EQ(ring->readIndex, 0U);
    EXPECT_EQ(ring->writeIndex, 0U);
    EXPECT_EQ(ring->empty, 1);
    EXPECT_EQ(std::memcmp(pcl_buffer_data(ring), "abc", 3), 0);
}

TEST(BufferState, MarksAPositionToReturnTo) {
    const Ring ring(5);
    shift(ring, 3);
    write(ring, "abcd");
    const PclBufferState mark = pcl_buffer_get_state(ring);
    EXPECT_EQ(mark.writeIndex, 2U);
    EXPECT_EQ(mark.readIndex, 3U);
    EXPECT_EQ(mark.empty, 0);
    EXPECT_EQ(read(ring, 9), "abcd");
    pcl_buffer_set_state(ring, mark);
    EXPECT_EQ(read(ring, 9), "abcd");
}

TEST(BufferState, MarksAFullBuffer) {
    const Ring ring(3);
    write(ring, "abc");
    const PclBufferState mark = pcl_buffer_get_state(ring);
    EXPECT_EQ(read(ring, 3), "abc");
    pcl_buffer_set_state(ring, mark);
    EXPECT_EQ(pcl_buffer_available(ring), 3U);
}

TEST(BufferFields, AreReadAndSetOneByOne) {
    const Ring ring(6);
    PclBuffer *const buffer = ring;
    EXPECT_EQ(pcl_buffer_set_read_index(ring, 4), buffer);
    EXPECT_EQ(pcl_buffer_set_write_index(ring, 1), buffer);
    EXPECT_EQ(pcl_buffer_set_empty_flag(ring, 0), buffer);
    EXPECT_EQ(pcl_buffer_get_read_index(ring), 4U);
    EXPECT_EQ(pcl_buffer_get_write_index(ring), 1U);
    EXPECT_EQ(pcl_buffer_is_empty_flag(ring), 0);
    EXPECT_EQ(pcl_buffer_available(ring), 3U);
}

TEST(BufferRead, GivesWhatIsThere) {
    const Ring ring(8);
    write(ring, "abcde");
    EXPECT_EQ(read(ring, 2), "ab");
    EXPECT_EQ(read(ring, 100), "cde");
    EXPECT_EQ(read(ring, 100), "");
}

TEST(BufferRead, AHugeCountIsNotCutToAnother) {
    const Ring ring(8);
    write(ring, "abc");
    EXPECT_EQ(pcl_buffer_read(ring, nullptr, (std::size_t{1} << 32) + 1), 3U);
}

TEST(BufferRead, ANullDestinationSkips) {
    const Ring ring(4);
    shift(ring, 3);
    write(ring, "abcd");
    EXPECT_EQ(pcl_buffer_read(ring, nullptr, 3), 3U);
    EXPECT_EQ(read(ring, 4), "d");
}

TEST(BufferRead, ReadingNothingLeavesTheFlag) {
    const Ring ring(4);
    write(ring, "abcd");
    char byte = 0;
    EXPECT_EQ(pcl_buffer_read(ring, &byte, 0), 0U);
    EXPECT_EQ(ring->empty, 0);
    EXPECT_EQ(pcl_buffer_available(ring), 4U);
}

TEST(BufferRead, WrapsAtTheEnd) {
    const Ring ring(4);
    shift(ring, 3);
    write(ring, "abc");
    EXPECT_EQ(ring->storage[3], 'a');
    EXPECT_EQ(ring->storage[0], 'b');
    EXPECT_EQ(ring->storage[1], 'c');
    EXPECT_EQ(ring->writeIndex, 2U);
    EXPECT_EQ(read(ring, 3), "abc");
    EXPECT_EQ(ring->readIndex, 2U);
}

TEST(BufferRead, IndicesReturnToZeroExactlyAtTheEnd) {
    const Ring ring(4);
    shift(ring, 2);
    write(ring, "ab");
    EXPECT_EQ(ring->writeIndex, 0U);
    EXPECT_EQ(read(ring, 2), "ab");
    EXPECT_EQ(ring->readIndex, 0U);
}

TEST(BufferTypedRead, ByteOrderFollowsTheFlag) {
    const Ring ring(16);
    write(ring, "\x12\x34\x12\x34");
    EXPECT_EQ(pcl_buffer_read_u16(ring, 0), 0x1234);
    EXPECT_EQ(pcl_buffer_read_u16(ring, 1), 0x3412);
    write(ring, "\x12\x34\x56\x78\x12\x34\x56\x78");
    EXPECT_EQ(pcl_buffer_read_u32(ring, 0), 0x12345678U);
    EXPECT_EQ(pcl_buffer_read_u32(ring, 2), 0x78563412U);
    write(ring, "\x81");
    EXPECT_EQ(pcl_buffer_read_byte(ring), 0x81);
}

TEST(BufferTypedRead, SignedVariants) {
    const Ring ring(12);
    write(ring, "\xFF\xFE\xFE\xFF\xFF\xFF\xFF\xFD\xFD\xFF\xFF\xFF");
    EXPECT_EQ(pcl_buffer_read_i16(ring, 0), -2);
    EXPECT_EQ(pcl_buffer_read_i16(ring, 1), -2);
    EXPECT_EQ(pcl_buffer_read_i32(ring, 0), -3);
    EXPECT_EQ(pcl_buffer_read_i32(ring, 1), -3);
}

TEST(BufferTypedRead, AcrossTheEnd) {
    const Ring ring(5);
    shift(ring, 3);
    write(ring, "\x01\x02\x03\x04");
    EXPECT_EQ(pcl_buffer_read_u32(ring, 0), 0x01020304U);
    shift(ring, 2);
    write(ring, "\x05\x06");
    EXPECT_EQ(pcl_buffer_read_u16(ring, 0), 0x0506);
}

TEST(BufferTypedRead, AShortageChangesNothing) {
    const Ring ring(8);
    EXPECT_FAILURE(pcl_buffer_read_byte(ring), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
    write(ring, "a");
    const PclBufferState before = pcl_buffer_get_state(ring);
    EXPECT_FAILURE(pcl_buffer_read_u16(ring, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 2)");
    EXPECT_FAILURE(pcl_buffer_read_i16(ring, 1), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 2)");
    EXPECT_FAILURE(pcl_buffer_read_u32(ring, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 4)");
    EXPECT_FAILURE(pcl_buffer_read_i32(ring, 1), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 4)");
    expectSameCursor(ring, before);
    write(ring, "bc");
    EXPECT_FAILURE(pcl_buffer_read_u32(ring, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 3, requested: 4)");
    EXPECT_EQ(read(ring, 3), "abc");
}

TEST(BufferTypedRead, GivesZeroWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const Ring ring(8);
    EXPECT_EQ(pcl_buffer_read_byte(ring), 0);
    EXPECT_EQ(pcl_buffer_read_u16(ring, 0), 0);
    EXPECT_EQ(pcl_buffer_read_i16(ring, 0), 0);
    EXPECT_EQ(pcl_buffer_read_u32(ring, 1), 0U);
    EXPECT_EQ(pcl_buffer_read_i32(ring, 1), 0);
    EXPECT_EQ(handler.count(), 5U);
}

TEST(BufferWrite, FillsExactlyAndNoByteMore) {
    const Ring ring(4);
    write(ring, "ab");
    EXPECT_NO_FAILURE(write(ring, "cd"));
    pcl_buffer_clear(ring);
    write(ring, "ab");
    const PclBufferState before = pcl_buffer_get_state(ring);
    EXPECT_FAILURE(write(ring, "xyz"), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 2, requested: 3)");
    expectSameCursor(ring, before);
    EXPECT_EQ(std::memcmp(pcl_buffer_data(ring), "abcd", 4), 0);
    EXPECT_EQ(read(ring, 4), "ab");
}

TEST(BufferWrite, AHugeCountIsNamedWhole) {
    const Ring ring(4);
    EXPECT_FAILURE(pcl_buffer_write(ring, "x", (std::size_t{1} << 32) + 1), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 4, requested: 4294967297)");
}

TEST(BufferWrite, NothingLeavesTheFlag) {
    const Ring ring(4);
    EXPECT_NO_FAILURE(pcl_buffer_write(ring, "x", 0));
    EXPECT_NO_FAILURE(pcl_buffer_write(ring, nullptr, 0));
    EXPECT_EQ(ring->empty, 1);
}

TEST(BufferWrite, TypedValues) {
    const Ring ring(32);
    pcl_buffer_write_u16(ring, 0x1234, 0);
    pcl_buffer_write_u16(ring, 0x1234, 1);
    pcl_buffer_write_u32(ring, 0x12345678U, 0);
    pcl_buffer_write_u32(ring, 0x12345678U, 1);
    pcl_buffer_write_i16(ring, -2, 0);
    pcl_buffer_write_i16(ring, -2, 1);
    pcl_buffer_write_i32(ring, -3, 0);
    pcl_buffer_write_i32(ring, -3, 1);
    pcl_buffer_write_byte(ring, 0x80);
    EXPECT_EQ(read(ring, 32), std::string("\x12\x34\x34\x12\x12\x34\x56\x78\x78\x56\x34\x12"
                                          "\xFF\xFE\xFE\xFF\xFF\xFF\xFF\xFD\xFD\xFF\xFF\xFF\x80"));
}

TEST(BufferWrite, TypedValuesThatDoNotFitChangeNothing) {
    const Ring ring(3);
    write(ring, "ab");
    const PclBufferState before = pcl_buffer_get_state(ring);
    EXPECT_FAILURE(pcl_buffer_write_u16(ring, 1, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 2)");
    EXPECT_FAILURE(pcl_buffer_write_i16(ring, 1, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 2)");
    EXPECT_FAILURE(pcl_buffer_write_u32(ring, 1, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 4)");
    EXPECT_FAILURE(pcl_buffer_write_i32(ring, 1, 0), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 1, requested: 4)");
    expectSameCursor(ring, before);
    pcl_buffer_write_byte(ring, 'c');
    EXPECT_FAILURE(pcl_buffer_write_byte(ring, 'd'), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 0, requested: 1)");
    EXPECT_EQ(read(ring, 3), "abc");
}

TEST(BufferWriteString, WithAndWithoutItsTerminator) {
    const Ring ring(8);
    pcl_buffer_write_string(ring, "abc", 0);
    EXPECT_EQ(pcl_buffer_available(ring), 3U);
    pcl_buffer_write_string(ring, "de", 1);
    EXPECT_EQ(read(ring, 8), std::string("abcde\0", 6));
    pcl_buffer_write_string(ring, "", 0);
    EXPECT_EQ(pcl_buffer_available(ring), 0U);
    pcl_buffer_write_string(ring, "", 1);
    EXPECT_EQ(pcl_buffer_available(ring), 1U);
}

TEST(BufferWriteString, TheTerminatorCountsToo) {
    const Ring ring(3);
    EXPECT_FAILURE(pcl_buffer_write_string(ring, "abc", 1), PCL_RESULT_IO_ERROR,
                   "No enough space in buffer (available: 3, requested: 4)");
    EXPECT_NO_FAILURE(pcl_buffer_write_string(ring, "abc", 0));
}

TEST(BufferReadString, ConsumesTheTextAndItsTerminator) {
    const Ring ring(8);
    shift(ring, 5);
    pcl_buffer_write_string(ring, "abc", 1);
    pcl_buffer_write_string(ring, "rest", 0);
    char text[8];
    EXPECT_EQ(pcl_buffer_read_string(ring, text, sizeof text), text);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(read(ring, 8), "rest");
}

TEST(BufferReadString, ATextThatIsTooLongIsCut) {
    for (const std::size_t maxLen : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{5},
                                     std::size_t{6}, std::size_t{7}}) {
        const Ring ring(8);
        pcl_buffer_write_string(ring, "abcde", 1);
        pcl_buffer_write_byte(ring, '!');
        char text[9];
        std::memset(text, '#', sizeof text);
        pcl_buffer_read_string(ring, text, maxLen);
        const std::string expected = std::string("abcde").substr(0, maxLen == 0 ? 0 : maxLen - 1);
        EXPECT_EQ(text, expected) << maxLen;
        EXPECT_EQ(text[expected.size() + 1], '#') << maxLen;
        EXPECT_EQ(read(ring, 8), "!") << maxLen;
    }
}

TEST(BufferReadString, AMissingTerminatorConsumesEverything) {
    const Ring ring(8);
    write(ring, "abc");
    char text[8];
    EXPECT_FAILURE(pcl_buffer_read_string(ring, text, sizeof text), PCL_RESULT_IO_ERROR,
                   "Null-terminator not found");
    EXPECT_EQ(pcl_buffer_available(ring), 0U);
    EXPECT_FAILURE(pcl_buffer_read_string(ring, text, sizeof text), PCL_RESULT_IO_ERROR,
                   "Null-terminator not found");
}

TEST(BufferNull, IsRefusedByEveryOperation) {
    char bytes[4] = {};
    const auto code = PCL_RESULT_ILLEGAL_ARGUMENT;
    const char *const text = "buffer is NULL";
    EXPECT_FAILURE(pcl_buffer_data(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_capacity(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_available(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_free_space(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_clear(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_get_state(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_set_state(nullptr, {}), code, text);
    EXPECT_FAILURE(pcl_buffer_read(nullptr, bytes, 1), code, text);
    EXPECT_FAILURE(pcl_buffer_read_byte(nullptr), code, text);
    EXPECT_FAILURE(pcl_buffer_read_u16(nullptr, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_read_i16(nullptr, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_read_u32(nullptr, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_read_i32(nullptr, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_read_string(nullptr, bytes, 4), code, text);
    EXPECT_FAILURE(pcl_buffer_write(nullptr, bytes, 1), code, text);
    EXPECT_FAILURE(pcl_buffer_write(nullptr, bytes, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_write_byte(nullptr, 1), code, text);
    EXPECT_FAILURE(pcl_buffer_write_u16(nullptr, 1, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_write_i16(nullptr, 1, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_write_u32(nullptr, 1, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_write_i32(nullptr, 1, 0), code, text);
    EXPECT_FAILURE(pcl_buffer_write_string(nullptr, "x", 0), code, text);
}

TEST(BufferNull, IsReportedOnceWhenTheHandlerReturns) {
    ScopedHandler handler;
    char bytes[4] = {};
    EXPECT_EQ(pcl_buffer_data(nullptr), nullptr);
    EXPECT_EQ(pcl_buffer_capacity(nullptr), 0U);
    EXPECT_EQ(pcl_buffer_available(nullptr), 0U);
    EXPECT_EQ(pcl_buffer_free_space(nullptr), 0U);
    EXPECT_EQ(pcl_buffer_get_state(nullptr).readIndex, 0U);
    EXPECT_EQ(pcl_buffer_read(nullptr, bytes, 1), 0U);
    EXPECT_EQ(pcl_buffer_read_byte(nullptr), 0);
    EXPECT_EQ(pcl_buffer_read_u32(nullptr, 0), 0U);
    EXPECT_EQ(pcl_buffer_read_string(nullptr, bytes, 4), nullptr);
    EXPECT_EQ(handler.count(), 9U);
    handler.clear();
    pcl_buffer_clear(nullptr);
    pcl_buffer_set_state(nullptr, {});
    pcl_buffer_set_storage(nullptr, bytes, 4, 1);
    pcl_buffer_write(nullptr, bytes, 1);
    pcl_buffer_write_byte(nullptr, 1);
    pcl_buffer_write_u16(nullptr, 1, 0);
    pcl_buffer_write_string(nullptr, "x", 1);
    EXPECT_EQ(handler.count(), 7U);
}

TEST(BufferNull, SoAreNullSourcesAndDestinations) {
    const Ring ring(4);
    EXPECT_FAILURE(pcl_buffer_write(ring, nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "source is NULL");
    EXPECT_FAILURE(pcl_buffer_write_string(ring, nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "text is NULL");
    write(ring, "a");
    EXPECT_FAILURE(pcl_buffer_read_string(ring, nullptr, 1), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "destination is NULL");
    EXPECT_EQ(pcl_buffer_available(ring), 1U);
}

TEST(BufferRefusal, ChangesNothingWhenTheHandlerReturns) {
    const ScopedHandler handler;
    const Ring ring(4);
    write(ring, "ab");
    const PclBufferState before = pcl_buffer_get_state(ring);
    const std::uint8_t *storage = pcl_buffer_data(ring);
    char bytes[4];

    pcl_buffer_set_storage(ring, nullptr, 4, 1);
    pcl_buffer_set_storage(ring, bytes, 0, 1);
    pcl_buffer_write(ring, nullptr, 1);
    pcl_buffer_write(ring, "xyz", 3);
    pcl_buffer_write_u32(ring, 1, 0);
    pcl_buffer_write_string(ring, nullptr, 1);
    EXPECT_EQ(pcl_buffer_read_u32(ring, 0), 0U);
    EXPECT_EQ(pcl_buffer_read_string(ring, nullptr, 4), nullptr);
    EXPECT_EQ(handler.count(), 8U);
    expectSameCursor(ring, before);
    EXPECT_EQ(pcl_buffer_data(ring), storage);

    EXPECT_EQ(pcl_buffer_read_string(ring, bytes, sizeof bytes), nullptr);
    EXPECT_EQ(handler.message(), "[PCL_RESULT_IO_ERROR] Null-terminator not found");
}
