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
        : m_capacity(capacity), m_random(seed), m_buffer(pcl_buffer_create(capacity)) {}
    ~BufferModel() { pcl_buffer_destroy(&m_buffer); }
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
        ASSERT_EQ(pcl_buffer_available(m_buffer), m_model.size());
        ASSERT_EQ(pcl_buffer_free_space(m_buffer), m_capacity - m_model.size());
    }

private:
    std::uint32_t upTo(std::uint32_t max) {
        return std::uniform_int_distribution<std::uint32_t>(0, max)(m_random);
    }
    std::uint8_t anyByte() { return static_cast<std::uint8_t>(upTo(255)); }

    void writeSome() {
        std::vector<std::uint8_t> bytes(upTo(m_capacity + 2));
        for (std::uint8_t &byte : bytes) {
            byte = anyByte();
        }
        const bool fits = m_model.size() + bytes.size() <= m_capacity;
        const PclException failure =
            pcl_attempt([&] { pcl_buffer_write(m_buffer, bytes.data(), bytes.size()); });
        ASSERT_EQ(static_cast<bool>(failure), !fits);
        if (fits) {
            m_model.insert(m_model.end(), bytes.begin(), bytes.end());
        }
    }

    void readSome() {
        const std::uint32_t count = upTo(m_capacity + 2);
        std::vector<std::uint8_t> bytes(count + 1);
        const bool skip = upTo(4) == 0;
        const std::uint32_t taken = pcl_buffer_read(m_buffer, skip ? nullptr : bytes.data(), count);
        ASSERT_EQ(taken, std::min<std::size_t>(count, m_model.size()));
        if (!skip) {
            ASSERT_TRUE(std::equal(m_model.begin(), m_model.begin() + taken, bytes.begin()));
        }
        m_model.erase(m_model.begin(), m_model.begin() + taken);
    }

    void writeNumber() {
        const auto value = static_cast<std::uint32_t>(m_random());
        const std::uint8_t little = upTo(1) == 1;
        const bool fits = m_model.size() + 4 <= m_capacity;
        const PclException failure =
            pcl_attempt([&] { pcl_buffer_write_u32(m_buffer, value, little); });
        ASSERT_EQ(static_cast<bool>(failure), !fits);
        for (std::uint32_t i = 0; fits && i < 4; ++i) {
            m_model.push_back(static_cast<std::uint8_t>(value >> (8 * (little != 0 ? i : 3 - i))));
        }
    }

    void readNumber() {
        const std::uint8_t little = upTo(1) == 1;
        const bool enough = m_model.size() >= 2;
        std::uint16_t value = 0;
        const PclException failure =
            pcl_attempt([&] { value = pcl_buffer_read_u16(m_buffer, little); });
        ASSERT_EQ(static_cast<bool>(failure), !enough);
        if (enough) {
            const int high = m_model[little != 0 ? 1 : 0];
            const int low = m_model[little != 0 ? 0 : 1];
            ASSERT_EQ(value, high * 256 + low);
            m_model.erase(m_model.begin(), m_model.begin() + 2);
        }
    }

    void writeByte() {
        const std::uint8_t byte = anyByte();
        const bool fits = m_model.size() < m_capacity;
        const PclException failure = pcl_attempt([&] { pcl_buffer_write_byte(m_buffer, byte); });
        ASSERT_EQ(static_cast<bool>(failure), !fits);
        if (fits) {
            m_model.push_back(byte);
        }
    }

    void readByte() {
        std::uint8_t byte = 0;
        const PclException failure = pcl_attempt([&] { byte = pcl_buffer_read_byte(m_buffer); });
        ASSERT_EQ(static_cast<bool>(failure), m_model.empty());
        if (!m_model.empty()) {
            ASSERT_EQ(byte, m_model.front());
            m_model.pop_front();
        }
    }

    void rewind() {
        const PclBufferState mark = pcl_buffer_get_state(m_buffer);
        pcl_buffer_read(m_buffer, nullptr, upTo(m_capacity));
        pcl_buffer_set_state(m_buffer, mark);
    }

    std::uint32_t m_capacity;
    std::mt19937 m_random;
    PclBuffer *m_buffer;
    std::deque<std::uint8_t> m_model;
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
