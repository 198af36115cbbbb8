#include "core/buffer.h"

#include "core/guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <random>
#include <vector>

namespace {

/// A ring and what it should hold, driven by the same random operations.
class BufferModel {
public:
    BufferModel(std::uint32_t capacity, std::uint32_t seed)
        : capacity_(capacity), random_(seed), buffer_(pcl_buffer_create(capacity)) {}
    ~BufferModel() { pcl_buffer_destroy(&buffer_); }
    BufferModel(const BufferModel &) = delete;
    BufferModel &operator=(const BufferModel &) = delete;

    void step() {
        switch (upTo(8)) {
        case 0:
        case 1:
            writeSome();
            break;
        case 2:
        case 3:
            readSome();
            break;
        case 4:
            writeNumber();
            break;
        case 5:
            readNumber();
            break;
        case 6:
            writeByte();
            break;
        case 7:
            readByte();
            break;
        default:
            rewind();
            break;
        }
        ASSERT_EQ(pcl_buffer_available(buffer_), model_.size());
        ASSERT_EQ(pcl_buffer_free_space(buffer_), capacity_ - model_.size());
    }

private:
    std::uint32_t upTo(std::uint32_t max) {
        return std::uniform_int_distribution<std::uint32_t>(0, max)(random_);
    }
    std::uint8_t anyByte() { return static_cast<std::uint8_t>(upTo(255)); }

    void writeSome() {
        std::vector<std::uint8_t> bytes(upTo(capacity_ + 2));
        for (std::uint8_t &byte : bytes) {
            byte = anyByte();
        }
        const bool fits = model_.size() + bytes.size() <= capacity_;
        const PclException failure =
            pcl_attempt([&] { pcl_buffer_write(buffer_, bytes.data(), bytes.size()); });
        ASSERT_EQ(static_cast<bool>(failure), !fits);
        if (fits) {
            model_.insert(model_.end(), bytes.begin(), bytes.end());
        }
    }

    void readSome() {
        const std::uint32_t count = upTo(capacity_ + 2);
        std::vector<std::uint8_t> bytes(count + 1);
        const bool skip = upTo(4) == 0;
        const std::uint32_t taken = pcl_buffer_read(buffer_, skip ? nullptr : bytes.data(), count);
        ASSERT_EQ(taken, std::min<std::size_t>(count, model_.size()));
        if (!skip) {
            ASSERT_TRUE(std::equal(model_.begin(), model_.begin() + taken, bytes.begin()));
        }
        model_.erase(model_.begin(), model_.begin() + taken);
    }

    void writeNumber() {
        const auto value = static_cast<std::uint32_t>(random_());
        const std::uint8_t little = upTo(1) == 1;
        const bool fits = model_.size() + 4 <= capacity_;
        const PclException failure =
            pcl_attempt([&] { pcl_buffer_write_u32(buffer_, value, little); });
        ASSERT_EQ(static_cast<bool>(failure), !fits);
        for (std::uint32_t i = 0; fits && i < 4; ++i) {
            model_.push_back(static_cast<std::uint8_t>(value >> (8 * (little != 0 ? i : 3 - i))));
        }
    }

    void readNumber() {
        const std::uint8_t little = upTo(1) == 1;
        const bool enough = model_.size() >= 2;
        std::uint16_t value = 0;
        const PclException failure =
            pcl_attempt([&] { value = pcl_buffer_read_u16(buffer_, little); });
        ASSERT_EQ(static_cast<bool>(failure), !enough);
        if (enough) {
            const int high = model_[little != 0 ? 1 : 0];
            const int low = model_[little != 0 ? 0 : 1];
            ASSERT_EQ(value, high * 256 + low);
            model_.erase(model_.begin(), model_.begin() + 2);
        }
    }

    void writeByte() {
        const std::uint8_t byte = anyByte();
        const bool fits = model_.size() < capacity_;
        const PclException failure = pcl_attempt([&] { pcl_buffer_write_byte(buffer_, byte); });
        ASSERT_EQ(static_cast<bool>(failure), !fits);
        if (fits) {
            model_.push_back(byte);
        }
    }

    void readByte() {
        std::uint8_t byte = 0;
        const PclException failure = pcl_attempt([&] { byte = pcl_buffer_read_byte(buffer_); });
        ASSERT_EQ(static_cast<bool>(failure), model_.empty());
        if (!model_.empty()) {
            ASSERT_EQ(byte, model_.front());
            model_.pop_front();
        }
    }

    void rewind() {
        const PclBufferState mark = pcl_buffer_get_state(buffer_);
        pcl_buffer_read(buffer_, nullptr, upTo(capacity_));
        pcl_buffer_set_state(buffer_, mark);
    }

    std::uint32_t capacity_;
    std::mt19937 random_;
    PclBuffer *buffer_;
    std::deque<std::uint8_t> model_;
};

} // namespace

TEST(BufferModel, BehavesLikeAQueueAtEveryCapacity) {
    for (std::uint32_t capacity = 0; capacity <= 17; ++capacity) {
        BufferModel model(capacity, 1000 + capacity);
        for (int step = 0; step < 4000; ++step) {
            ASSERT_NO_FATAL_FAILURE(model.step()) << "capacity " << capacity << " step " << step;
        }
    }
}

TEST(BufferModel, BehavesLikeAQueueWhenLarge) {
    BufferModel model(2044, 7);
    for (int step = 0; step < 5000; ++step) {
        ASSERT_NO_FATAL_FAILURE(model.step()) << "step " << step;
    }
}
